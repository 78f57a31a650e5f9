#include "history_files_model.h"

#include "controller/history.h"

#include <QFileInfo>
#include <QLocale>

using namespace Qt::Literals::StringLiterals;

void HistoryFilesModel::show(const QList<PastApply>* applies, QList<HistoryHit> rows, bool searching)
{
    beginResetModel();
    m_applies = applies;
    m_rows = std::move(rows);
    m_searching = searching;
    endResetModel();
}

HistoryHit HistoryFilesModel::hit(int row) const
{
    return m_rows.at(row);
}

const MoveRecord& HistoryFilesModel::record(int row) const
{
    const HistoryHit& hit = m_rows.at(row);
    return m_applies->at(hit.apply).records.at(hit.record);
}

bool HistoryFilesModel::isSearching() const
{
    return m_searching;
}

int HistoryFilesModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int HistoryFilesModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : Column::columns;
}

QString HistoryFilesModel::currentPath(const MoveRecord& record)
{
    const bool back = record.state == MoveState::back || record.state == MoveState::putBack;
    if (back && !record.back.isEmpty())
        return record.back;
    return back || record.state == MoveState::failed ? record.from : record.to;
}

QString HistoryFilesModel::whenText(const PastApply& apply)
{
    if (!apply.started.isValid())
        return tr("Unknown time");
    return QLocale().toString(apply.started.toLocalTime(), u"MMM d, yyyy  h:mm AP"_s);
}

QString HistoryFilesModel::text(const HistoryHit& hit, int column) const
{
    const PastApply& apply = m_applies->at(hit.apply);
    const MoveRecord& record = apply.records.at(hit.record);
    switch (column) {
        case Column::name:
            return QFileInfo(record.to).fileName();
        case Column::from:
            return MoveHistory::shownFolder(record.from);
        case Column::to:
            return MoveHistory::shownFolder(record.to);
        case Column::renamedFrom:
            return MoveHistory::isRenamed(record) ? QFileInfo(record.from).fileName() : QString();
        case Column::state:
            return History::recordStateText(record);
        default:
            return whenText(apply);
    }
}

QVariant HistoryFilesModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole || role == Qt::AccessibleTextRole)
        return text(m_rows.at(index.row()), index.column());
    return {};
}

QVariant HistoryFilesModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
        case Column::name:
            return tr("Name");
        case Column::from:
            return tr("From");
        case Column::to:
            return tr("To");
        case Column::renamedFrom:
            return tr("Renamed from");
        case Column::state:
            return tr("State");
        default:
            return tr("Apply");
    }
}
