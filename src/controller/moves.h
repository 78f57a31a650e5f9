#pragma once

#include "common/cancellation.h"
#include "model/apply_result.h"
#include "model/phase.h"
#include "model/recap_data.h"

#include <QFuture>
#include <QObject>
#include <QString>

#include <optional>

class Activity;
class Clock;
class PlanReview;
class Preferences;
class StoreWriter;

// The two operations that change the person's files, applying the reviewed plan and undoing the
// newest apply, run in the background; then what they did: the result, the recap, the move logs.
class Moves : public QObject
{
    Q_OBJECT

public:
    Moves(Activity& activity, Preferences& preferences, PlanReview& review, StoreWriter& writer, const Clock& clock);
    // Stops a move in hand at the next file and waits for its log.
    ~Moves() override;

    // Carries out the plan under review, in the background; then the recap.
    void apply(bool includeRenames);
    // Puts back the files of the newest applied plan.
    void undoLast();
    // Puts back records `records` of the apply logged at `log`, each on its own, in the
    // background; `putBackFinished` then says what became of them. Refused while a refresh, an
    // apply or an undo runs, here or in another Brindlow: the reason, else nothing.
    std::optional<QString> putBack(const QString& log, const QList<int>& records);

    std::optional<ApplyResult> lastResult() const;
    std::optional<UndoResult> lastUndo() const;
    std::optional<RecapData> recap() const;
    void setRecap(const std::optional<RecapData>& recap);
    // Whether an undo could bring anything back, and the words beside the undo action: the day
    // of the apply it would take back, or "Nothing to undo". Read in the background at start-up
    // and after every apply and undo.
    bool canUndo() const;
    QString undoDetail() const;

    // What an undo tells the person.
    static QString undoText(const UndoResult& result);
    // What putting single files back tells the person.
    static QString putBackText(const UndoResult& result);
    // Why nothing can go back right now.
    static QString busyText();

Q_SIGNALS:
    void lastResultChanged();
    void recapChanged();
    void undoableChanged();
    // An apply or an undo has ended.
    void finished();
    // Files put back on their own went back, or stayed; `finished` follows.
    void putBackFinished(const UndoResult& result);
    void windowRequested(const QString& id);

private:
    friend class AppState;
    friend class RefreshRun;

    // A refresh that found everything in its place ends like an apply that moved nothing.
    void recordNothingToMove();
    void refreshUndoable();
    void applied(const ApplyResult& result, RecapData recap);
    void undone(const UndoResult& result);
    void putBackDone(const UndoResult& result, Phase before);

    Activity& m_activity;
    Preferences& m_preferences;
    PlanReview& m_review;
    StoreWriter& m_writer;
    const Clock& m_clock;
    std::optional<ApplyResult> m_lastResult;
    std::optional<UndoResult> m_lastUndo;
    std::optional<RecapData> m_recap;
    bool m_canUndo = false;
    QString m_undoDetail;
    CancellationPtr m_cancellation;
    QFuture<void> m_work;
};
