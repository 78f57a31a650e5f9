#pragma once

#include "planning/move_history.h"

#include <QAbstractTableModel>
#include <QList>

// The files of the history window: every record of one apply, or what a search found across
// all of them (with the apply each belongs to).
class HistoryFilesModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { name, apply, state, from, to, renamedFrom, columns };

    using QAbstractTableModel::QAbstractTableModel;

    // `applies` must outlive the rows, until the next call.
    void show(const QList<PastApply>* applies, QList<HistoryHit> rows, bool searching);
    HistoryHit hit(int row) const;
    const MoveRecord& record(int row) const;
    bool isSearching() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // Where a record's file is now, as far as the log knows: back at its old place, or filed.
    static QString currentPath(const MoveRecord& record);
    // When an apply was, in the person's time.
    static QString whenText(const PastApply& apply);

private:
    QString text(const HistoryHit& hit, int column) const;

    const QList<PastApply>* m_applies = nullptr;
    QList<HistoryHit> m_rows;
    bool m_searching = false;
};
