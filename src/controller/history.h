#pragma once

#include "model/apply_result.h"
#include "planning/move_history.h"

#include <QFuture>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class Activity;
class Moves;

// Every apply and what became of each file it moved, for the history window and the command
// line: read in the background (logs unchanged since the last read are not read again), found
// by search, and taken back, the newest apply whole or single files of any apply.
class History : public QObject
{
    Q_OBJECT

public:
    History(Activity& activity, Moves& moves);
    // Waits for a read in hand; it only reads.
    ~History() override;

    // Reads the logs again in the background; `changed` when they are in. The first call also
    // follows every apply, undo and put-back from then on.
    void reload();
    bool isLoaded() const;
    // Newest first; a log that could not be read is one apply in the damaged state.
    const QList<PastApply>& applies() const;
    QList<HistoryHit> search(const QString& text) const;
    // Whether an undo would take back apply `index` now.
    bool isUndoable(int index) const;

    // The panel's undo, for the apply an undo would take back: the reason when refused.
    std::optional<QString> undo(int index);
    // Puts back records of apply `index`: the reason when refused. `finished` says how it went.
    std::optional<QString> putBack(int index, const QList<int>& records);
    // What the last put-back asked for here did.
    const std::optional<UndoResult>& lastPutBack() const;

    // The words for an apply's state, and a record's.
    static QString stateText(const PastApply& apply);
    static QString recordStateText(const MoveRecord& record);
    // "14 moved · 3 renamed · 2 set aside".
    static QString countsText(const PastApply& apply);

Q_SIGNALS:
    void changed();
    // An undo or put-back asked for here has ended, with what it tells the person.
    void finished(const QString& message);

private:
    struct Snapshot
    {
        QList<PastApply> applies;
        QString undoable; // the log an undo would take back next
    };

    void loaded(const Snapshot& snapshot);

    Activity& m_activity;
    Moves& m_moves;
    std::shared_ptr<MoveHistory> m_reader = std::make_shared<MoveHistory>();
    Snapshot m_snapshot;
    bool m_loaded = false;
    bool m_following = false;
    std::optional<UndoResult> m_lastPutBack;
    bool m_waiting = false; // an undo or a put-back asked for here runs
    int m_generation = 0;
    QFuture<void> m_work;
};
