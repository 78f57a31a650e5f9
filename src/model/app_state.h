#pragma once

#include "apply_result.h"
#include "phase.h"
#include "plan_item.h"
#include "platform/cancellation.h"
#include "platform/process_lock.h"
#include "profile.h"
#include "recap_data.h"
#include "tidy_mode.h"

#include <QDateTime>
#include <QFuture>
#include <QMap>
#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

class Clock;
class Notifier;

// The program's one controller: it owns the profile, the key, the refresh phase and progress,
// the open plan and the last result, and drives a refresh from scan to review. Lives on the main
// thread; scanning, classifying and counting run in the background and report back here.
class AppState : public QObject
{
    Q_OBJECT

public:
    explicit AppState(const Clock* clock = nullptr, QObject* parent = nullptr);
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
    std::optional<ApplyResult> lastResult() const;
    std::optional<QString> message() const;
    int newFiles() const;
    std::optional<RecapData> recap() const;
    std::optional<QDateTime> classifyStart() const;
    bool isBusy() const;

    // A refresh; refused while busy, and sent to onboarding before set-up is done.
    void start(TidyMode mode);
    // The weekly check, run by the timer every ten minutes.
    void autoCheck();
    void handleNotification(const QString& identifier);
    void refreshNewFiles();
    void saveKey(const QString& key);
    void discardPlan();
    void setProfile(const Profile& profile);

    // Review edits; each saves the plan at once. Unknown ids are ignored.
    void toggle(qint64 id);
    void setApproved(const QList<qint64>& ids, bool approved);
    void toggleRename(qint64 id);
    // A folder of the person's choosing (a lesson for later refreshes), or none: the item stays.
    void setDestination(qint64 id, const std::optional<QString>& destFolder);
    // Adds a project (when new) and files the undecided and generic items that mention it;
    // returns how many items it filed.
    int addProject(const QString& name);
    // Unknown project names the plan keeps suggesting, most suggested first, at most three.
    QList<GroupCount> projectSuggestions() const;

    // Carries out the plan under review, in the background; then the recap.
    void apply(bool includeRenames);
    // Puts back the files of the newest applied plan.
    void undoLast();

    // Applies one progress report of the classifier (on the main thread).
    void applyProgress(int decided, int total, const QMap<QString, int>& counts);

    QString lastRunText() const;
    QString lastLogText() const;
    std::optional<QString> timeLeftText() const;
    QString calmStatus() const;

    // Asks the user interface to open a window ("onboarding", "review", "recap").
    std::function<void(const QString&)> openWindow;

    static constexpr int kMaxItems = 25000;
    static constexpr int kCheckIntervalMs = 600 * 1000;
    // Shown when another Brindlow process is refreshing, applying or undoing right now.
    static QString otherProcessBusyText();

Q_SIGNALS:
    void profileChanged();
    void apiKeyChanged();
    void phaseChanged();
    void statusChanged();
    void decidedChanged();
    void totalChanged();
    void liveCountsChanged();
    void lastRunCostChanged();
    void planChanged();
    void lastResultChanged();
    void messageChanged();
    void newFilesChanged();
    void recapChanged();
    void classifyStartChanged();
    // A refresh has ended, in review, done or idle after a failure.
    void refreshFinished();
    // An apply or an undo has ended.
    void moveFinished();

private:
    struct RefreshResult;
    void setPhase(Phase phase);
    void setStatus(const QString& status);
    void setMessage(const std::optional<QString>& message);
    void setPlan(const QList<PlanItem>& plan);
    void finishRefresh(const RefreshResult& result);
    PlanItem* findItem(qint64 id);
    // Takes the lock shared by every Brindlow process; tells the person when another holds it.
    bool acquireLock();
    void savePlan();
    QDateTime now() const;

    const Clock* m_clock;
    Profile m_profile;
    QString m_apiKey;
    Phase m_phase = Phase::idle;
    QString m_status;
    int m_decided = 0;
    int m_total = 0;
    QMap<QString, int> m_liveCounts;
    std::optional<double> m_lastRunCost;
    QList<PlanItem> m_plan;
    std::optional<ApplyResult> m_lastResult;
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
};
