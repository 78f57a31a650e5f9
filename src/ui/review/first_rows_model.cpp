#include "first_rows_model.h"

FirstRowsModel::FirstRowsModel(QAbstractItemModel* source, int limit, QObject* parent)
    : QSortFilterProxyModel(parent)
    , m_limit(limit)
{
    setSourceModel(source);
    // Rows arriving above the cut push others below it; only a full pass sees that.
    const auto recut = [this] { invalidateFilter(); };
    connect(source, &QAbstractItemModel::rowsInserted, this, recut);
    connect(source, &QAbstractItemModel::rowsRemoved, this, recut);
}

int FirstRowsModel::limit() const
{
    return m_limit;
}

bool FirstRowsModel::filterAcceptsRow(int sourceRow, const QModelIndex&) const
{
    return sourceRow < m_limit;
}
