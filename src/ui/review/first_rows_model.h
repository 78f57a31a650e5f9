#pragma once

#include <QSortFilterProxyModel>

// The first rows of a list and no more, so a group of thousands shows a readable handful.
class FirstRowsModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    FirstRowsModel(QAbstractItemModel* source, int limit, QObject* parent = nullptr);

    int limit() const;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    int m_limit;
};
