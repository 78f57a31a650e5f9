#pragma once

#include "model/apply_result.h"
#include "model/lesson.h"
#include "model/phase.h"
#include "model/plan_item.h"
#include "model/profile.h"
#include "model/recap_data.h"
#include "model/tidy_mode.h"
#include "platform/cancellation.h"
#include "platform/process_lock.h"

#include <QDateTime>
#include <QFileSystemWatcher>
#include <QFuture>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QTimer>

#include <optional>

class Clock;
class Notifier;
class StoreWriter;
namespace RefreshPipeline {
struct Outcome;
struct Reports;
} // namespace RefreshPipeline

// The program's one controller: it owns the profile, the key, the refresh phase and progress,
// the open plan and the last result, and drives a refresh from scan to review. Lives on the main
// thread and never makes it wait: scanning, classifying, moving and writing files all happen in
// the background and report back here.
class AppState : public QObject
{
    Q_OBJECT

public:
    explicit AppState(const Clock* clock = nullptr, QObject* parent = nullptr);
    // Stops a refresh, lets a move in hand finish and its log be written, and writes every edit.
    ~AppState() override;

    // Start-up: profile, key, pending or imported plan, the weekly timer, notifications.
    void init();
    // The notifications to use instead of the desktop's (tests, a tray fallback); before init.
    void setNotifier(Notifier* notifier);
    Notifier* notifier() const;

    const Profile& profile() const;
    QString apiKey() const;
    Phase phase() const;
    QString status() const;
    int decided() const;
    int total() const;
    QMap<QString, int> liveCounts() const;
    std::optional<double> lastRunCost() const;
    const QList<PlanItem>& plan() const;
    // The row of an item in `plan`, or -1.
    int rowOf(qint64 id) const;
    std::optional<ApplyResult> lastResult() const;
    std::optional<UndoResult> lastUndo() const;
    std::optional<QString> message() const;
    int newFiles() const;
    std::optional<RecapData> recap() const;
    std::optional<QDateTime> classifyStart() const;
    bool isBusy() const;
    // While applying: whether the files are going back (an undo) rather than out.
    bool isUndoing() const;

    // A refresh; refused while busy, and sent to onboarding before set-up is done.
    void start(TidyMode mode);
    // Stops a running refresh; the plan that waited before it is kept.
    void cancelRefresh();
    // The weekly check, run by the timer every ten minutes.
    void autoCheck();
    void handleNotification(const QString& identifier);
    void refreshNewFiles();
    void saveKey(const QString& key);
    // Proves a key with one tiny request in the background; the answer comes as connectionTested.
    void testConnection(const QString& key);
    void discardPlan();
    void setProfile(const Profile& profile);
    bool sundayReminderOn() const;
    void setSundayReminderOn(bool on);
    // The done panel's "Done": back to the resting state.
    void acknowledgeDone();
    void setRecap(const std::optional<RecapData>& recap);

    // Review edits: memory changes and views hear of it at once; the plan file follows within a
    // fraction of a second. Unknown ids are ignored.
    void toggle(qint64 id);
    void setApproved(const QList<qint64>& ids, bool approved);
    void toggleRename(qint64 id);
    // A folder of the person's choosing (a lesson for later refreshes), or none: the item stays.
    void setDestination(qint64 id, const std::optional<QString>& destFolder);
    void setDestination(const QList<qint64>& ids, const std::optional<QString>& destFolder);
    // Adds a project (when new) and files the undecided and generic items that mention it;
    // returns how many items it filed.
    int addProject(const QString& name);
    // Unknown project names the plan keeps suggesting, most suggested first, at most three.
    QList<GroupCount> projectSuggestions() const;
    // Writes every edit made so far and waits for it (quitting, a terminal command ending);
    // returns whether the plan file holds it.
    bool flushEdits();
    int planWrites() const;

    // Carries out the plan under review, in the background; then the recap.
    void apply(bool includeRenames);
    // Puts back the files of the newest applied plan.
    void undoLast();

    // Applies one progress report of the classifier (on the main thread).
    void applyProgress(int decided, int total, const QMap<QString, int>& counts);

    QString lastRunText() const;
    // The date of the newest undoable apply, read in the background at start-up and after every
    // apply and undo; empty when there is none.
    QString lastLogText() const;
    std::optional<QString> timeLeftText() const;
    QString calmStatus() const;

    static constexpr int kCheckIntervalMs = 600 * 1000;
    static constexpr int kSaveDelayMs = 250;
    // Shown when another Brindlow process is refreshing, applying or undoing right now.
    static QString otherProcessBusyText();
    static QString refreshStoppedText();
    static QString planNotSavedText();
    // What an undo tells the person.
    static QString undoText(const UndoResult& result);

Q_SIGNALS:
    void profileChanged();
    void apiKeyChanged();
    void phaseChanged();
    void statusChanged();
    void decidedChanged();
    void totalChanged();
    void liveCountsChanged();
    void lastRunCostChanged();
    // The plan was replaced as a whole (a refresh, a discard, a change from another process).
    void planAboutToBeReset();
    void planReset();
    // These rows of `plan` changed in place; no row came or went.
    void planItemsChanged(const QList<int>& rows);
    // Either of the above: counts and totals may have changed.
    void planChanged();
    void lastResultChanged();
    void messageChanged();
    void newFilesChanged();
    void recapChanged();
    void lastLogTextChanged();
    void classifyStartChanged();
    // A refresh has ended, in review, done or idle after a failure or a stop.
    void refreshFinished();
    // An apply or an undo has ended.
    void moveFinished();
    // The user interface should open (or raise) a window: "onboarding", "review", "recap",
    // "zen" or "settings".
    void windowRequested(const QString& id);
    // "Connected." or the reason the key or the connection failed.
    void connectionTested(bool ok, const QString& text);
    void sundayReminderChanged();

private:
    void setPhase(Phase phase);
    // `learning`: the status is about finding files or projects, which the calm line words as
    // learning what the person works on.
    void setStatus(const QString& status, bool learning = false);
    static QString estimatingText();
    void setMessage(const std::optional<QString>& message);
    void resetProgress();
    // Replaces the plan in memory and on disk.
    void replacePlan(const QList<PlanItem>& plan);
    void setPlanInMemory(const QList<PlanItem>& plan);
    void loadPendingPlan();
    // Only items directly inside the scan folders may be planned: a plan file written by
    // anyone else cannot send the person's other files anywhere.
    QList<PlanItem> movableOnly(const QList<PlanItem>& items) const;
    void importPlan();
    void setUpNotifications();
    // The pipeline's reports, carried over to this thread; dropped once the controller is gone.
    RefreshPipeline::Reports reportsToThisThread();
    void finishRefresh(const RefreshPipeline::Outcome& result);
    // Marks rows as edited: views hear of them now, the plan file shortly.
    void edited(const QList<int>& rows);
    void submitEdits();
    void adoptOutsidePlan(const QList<PlanItem>& plan, quint64 generation);
    void learn(const Lesson& lesson);
    // Takes the lock shared by every Brindlow process; tells the person when another holds it.
    bool acquireLock();
    void startMoving(const QString& status, bool undoing);
    void refreshLastLogText();
    QDateTime now() const;

    const Clock* m_clock;
    Profile m_profile;
    QString m_apiKey;
    Phase m_phase = Phase::idle;
    QString m_status;
    bool m_statusIsLearning = false;
    int m_decided = 0;
    int m_total = 0;
    QMap<QString, int> m_liveCounts;
    std::optional<double> m_lastRunCost;
    QList<PlanItem> m_plan;
    QHash<qint64, int> m_rows; // id -> row in m_plan
    // The plan that waited when a refresh started; it comes back when the refresh is stopped.
    std::optional<QList<PlanItem>> m_planBeforeRefresh;
    std::optional<ApplyResult> m_lastResult;
    std::optional<UndoResult> m_lastUndo;
    QString m_lastLogText;
    bool m_undoing = false;
    std::optional<QString> m_message;
    int m_newFiles = 0;
    std::optional<RecapData> m_recap;
    std::optional<QDateTime> m_classifyStart;
    int m_classifyBaseline = 0;
    QTimer m_timer;
    ProcessLock m_lock;
    CancellationPtr m_cancellation;
    QFuture<void> m_pipeline;
    Notifier* m_notifier = nullptr;

    StoreWriter* m_writer = nullptr;
    QTimer m_saveTimer;
    QFileSystemWatcher m_watcher;
    quint64 m_generation = 0; // one per edit
    quint64 m_submitted = 0; // edits up to here are with the saver
    QHash<qint64, quint64> m_editedAt; // item id -> the edit that last changed it
    QSet<qint64> m_unsubmitted;
    QList<Lesson> m_pendingLessons;
    // Only a new plan, a new project or a changed category can change the suggestions.
    mutable std::optional<QList<GroupCount>> m_suggestions;
};
