#pragma once

#include "common/cancellation.h"
#include "controller/refresh_pipeline.h"
#include "model/plan_item.h"
#include "model/profile.h"
#include "model/tidy_mode.h"

#include <QDateTime>
#include <QFuture>
#include <QObject>

#include <optional>

class Activity;
class Clock;
class Moves;
class Notifier;
class PlanReview;
class Preferences;

// A refresh as the person follows it: starting, stopping and finishing it, its progress and
// the time it has left, the weekly automatic one, and how many new files wait for the next.
// The work itself runs in the background; its reports come back to this thread.
class RefreshRun : public QObject
{
    Q_OBJECT

public:
    RefreshRun(Activity& activity, Preferences& preferences, PlanReview& review, Moves& moves, const Clock& clock);
    // Stops a refresh in the background and waits for it, so its last reports find nothing.
    ~RefreshRun() override;

    // Refused while busy, and sent to onboarding before set-up is done.
    void start(TidyMode mode);
    // Stops a running refresh; the plan that waited before it is kept.
    void cancel();
    // The weekly check: a quick refresh on Sunday from 9:00 when the automatic one is on.
    void autoCheck();

    // The last refresh asked the model and every request failed; its plan leaves those items to
    // the person, and the message says why.
    bool everyRequestFailed() const;
    int decided() const;
    int total() const;
    std::optional<double> lastRunCost() const;
    // Files in the desktop and downloads changed since the last refresh; counted in the
    // background by refreshNewFiles.
    int newFiles() const;
    void refreshNewFiles();

    // Applies one progress report of the classifier (on the main thread).
    void setProgress(int decided, int total);

    std::optional<QString> timeLeftText() const;
    // The one line the progress view shows: the time left once it is known, else what is
    // happening.
    QString calmStatus() const;

    static QString refreshStoppedText();

    // The person's rules as they are now: the next refresh asks them first, and a refresh that
    // ends after they changed follows the new ones. Until they have been given once, a refresh
    // asked for waits for them.
    void useRules(const RuleBook& rules);
    // Every item the last refresh scanned, as the rules see it; empty before the first.
    const QList<RuleSubject>& lastScan() const;

Q_SIGNALS:
    void progressChanged();
    void lastRunCostChanged();
    void newFilesChanged();
    // A refresh has ended, in review, done or idle after a failure or a stop.
    void finished();
    void windowRequested(const QString& id);

private:
    // Records the run in the usage history; what it cost, or nothing when it was free.
    std::optional<double> closeUsage(int files);
    friend class AppState;

    void setNotifier(Notifier* notifier);
    void resetProgress();
    // The pipeline's reports, carried over to this thread; dropped once this part is gone.
    RefreshPipeline::Reports reportsToThisThread();
    // Runs the pipeline in the background with the rules as they are now.
    void launch(RefreshPipeline::Request request);
    void finish(const RefreshPipeline::Outcome& result);
    void finishStopped(const std::optional<QList<PlanItem>>& before);
    void finishFailed(const RefreshPipeline::Outcome& result, bool planWaited);
    static QString estimatingText();

    Activity& m_activity;
    Preferences& m_preferences;
    PlanReview& m_review;
    Moves& m_moves;
    const Clock& m_clock;
    Notifier* m_notifier = nullptr;
    int m_decided = 0;
    int m_total = 0;
    std::optional<double> m_lastRunCost;
    SortWith m_sortedWith = SortWith::claude;
    bool m_everyRequestFailed = false;
    int m_newFiles = 0;
    // When the first decisions came in, and how many there were then: the pace is measured from
    // there.
    std::optional<QDateTime> m_classifyStart;
    int m_classifyBaseline = 0;
    // The plan that waited when a refresh started; it comes back when the refresh is stopped.
    std::optional<QList<PlanItem>> m_planBeforeRefresh;
    CancellationPtr m_cancellation;
    QFuture<void> m_pipeline;
    RuleBook m_rules;
    quint64 m_rulesVersion = 0; // one per change of the rules
    quint64 m_rulesAsked = 0; // the version the running refresh was given
    QList<RuleSubject> m_lastScan;
    bool m_rulesReady = false; // the rules have been read once
    std::optional<RefreshPipeline::Request> m_waitingForRules; // a refresh asked for before that
};
