#include "refresh_run.h"

#include "activity.h"
#include "model/user_folders.h"
#include "moves.h"
#include "plan_review.h"
#include "platform/clock.h"
#include "platform/directory_listing.h"
#include "preferences.h"
#include "refresh_pipeline.h"
#include "schedule/notifier.h"
#include "understanding/usage.h"

#include <QDir>
#include <QFutureWatcher>
#include <QPointer>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace {

int countNewEntries(const QString& folder, const std::optional<QDateTime>& since)
{
    const DirectoryListing listing = DirectoryListing::read(folder);
    int count = 0;
    for (const QByteArray& name : listing.names()) {
        if (name.startsWith('.'))
            continue;
        if (!since) {
            ++count;
            continue;
        }
        const FileIdentity entry = listing.identityOf(name.constData(), FileIdentity::Links::follow);
        count += entry.exists() && entry.modifiedMs() > since->toMSecsSinceEpoch();
    }
    return count;
}

} // namespace

RefreshRun::RefreshRun(
    Activity& activity, Preferences& preferences, PlanReview& review, Moves& moves, const Clock& clock)
    : m_activity(activity)
    , m_preferences(preferences)
    , m_review(review)
    , m_moves(moves)
    , m_clock(clock)
{ }

RefreshRun::~RefreshRun()
{
    if (m_cancellation)
        m_cancellation->cancel();
    m_pipeline.waitForFinished();
}

void RefreshRun::setNotifier(Notifier* notifier)
{
    m_notifier = notifier;
}

bool RefreshRun::everyRequestFailed() const
{
    return m_everyRequestFailed;
}

int RefreshRun::decided() const
{
    return m_decided;
}

int RefreshRun::total() const
{
    return m_total;
}

std::optional<double> RefreshRun::lastRunCost() const
{
    return m_lastRunCost;
}

int RefreshRun::newFiles() const
{
    return m_newFiles;
}

QString RefreshRun::refreshStoppedText()
{
    return tr("Refresh stopped. Nothing was moved.");
}

QString RefreshRun::estimatingText()
{
    return tr("Estimating time left\u2026");
}

void RefreshRun::resetProgress()
{
    m_classifyStart.reset();
    m_classifyBaseline = 0;
    m_decided = 0;
    m_total = 0;
    Q_EMIT progressChanged();
}

void RefreshRun::setProgress(int decided, int total)
{
    if (!m_classifyStart) {
        m_classifyStart = m_clock.now();
        m_classifyBaseline = decided;
    }
    m_decided = decided;
    m_total = total;
    Q_EMIT progressChanged();
}

RefreshPipeline::Reports RefreshRun::reportsToThisThread()
{
    // Reports from the background go through the event loop; a report for a part that is gone
    // is dropped with its event.
    QPointer<RefreshRun> self(this);
    const auto post = [self](std::function<void(RefreshRun&)> change) {
        QMetaObject::invokeMethod(
            self.data(),
            [self, change] {
                if (self)
                    change(*self);
            },
            Qt::QueuedConnection);
    };
    RefreshPipeline::Reports reports;
    reports.status = [post](const QString& status, bool learning) {
        post([status, learning](RefreshRun& run) { run.m_activity.setStatus(status, learning); });
    };
    reports.total = [post](int total) {
        post([total](RefreshRun& run) {
            run.m_total = total;
            Q_EMIT run.progressChanged();
        });
    };
    reports.learned = [post](const QList<Project>& added, const QString& status) {
        post([added, status](RefreshRun& run) {
            run.m_preferences.addProjects(added);
            run.m_activity.setStatus(status, true);
        });
    };
    reports.progress
        = [post](int decided, int total) { post([=](RefreshRun& run) { run.setProgress(decided, total); }); };
    return reports;
}

void RefreshRun::start(TidyMode mode)
{
    if (m_activity.isBusy())
        return;
    const Profile& profile = m_preferences.profile();
    if (!profile.onboarded) {
        Q_EMIT windowRequested(u"onboarding"_s);
        return;
    }
    // Without a key every request would be turned away with a puzzling sign-in error.
    if (!m_preferences.readyToSort()) {
        m_activity.setMessage(profile.sortWith == SortWith::ownServer ? Preferences::serverMissingText()
                                                                      : Preferences::keyMissingText());
        return;
    }
    if (!m_activity.acquireLock())
        return;
    m_activity.setPhase(Phase::scanning);
    m_activity.setStatus(tr("Looking through your folders"));
    m_everyRequestFailed = false;
    resetProgress();
    m_activity.setMessage(std::nullopt);
    // The waiting plan stays on disk until the new one is there, so a stopped refresh or a quit
    // in the middle loses nothing.
    m_review.submitEdits();
    const QList<PlanItem>& waiting = m_review.plan();
    m_planBeforeRefresh = waiting.isEmpty() ? std::nullopt : std::optional(waiting);
    m_review.show({});

    RefreshPipeline::Request request;
    request.profile = profile;
    request.apiKey = m_preferences.keyInUse();
    m_sortedWith = profile.sortWith;
    request.mode = mode;
    request.home = QDir::homePath();
    request.clock = &m_clock;
    m_cancellation = std::make_shared<Cancellation>();
    request.cancellation = m_cancellation;
    Usage::shared().reset();
    // The person's rules are read in the background at start-up; a refresh asked for before
    // they arrive waits for them, or it would describe what they keep from any model.
    if (m_rulesReady)
        launch(std::move(request));
    else
        m_waitingForRules = std::move(request);
}

void RefreshRun::launch(RefreshPipeline::Request request)
{
    request.rules = m_rules;
    m_rulesAsked = m_rulesVersion;
    const RefreshPipeline::Reports reports = reportsToThisThread();
    auto* watcher = new QFutureWatcher<RefreshPipeline::Outcome>(this);
    connect(watcher, &QFutureWatcher<RefreshPipeline::Outcome>::finished, this, [this, watcher] {
        finish(watcher->result());
        watcher->deleteLater();
    });
    const QFuture<RefreshPipeline::Outcome> pipeline
        = QtConcurrent::run([request, reports] { return RefreshPipeline::run(request, reports); });
    m_pipeline = QFuture<void>(pipeline);
    watcher->setFuture(pipeline);
}

void RefreshRun::cancel()
{
    if (m_activity.phase() == Phase::scanning && m_cancellation)
        m_cancellation->cancel();
}

void RefreshRun::useRules(const RuleBook& rules)
{
    m_rules = rules;
    ++m_rulesVersion;
    m_rulesReady = true;
    if (std::optional<RefreshPipeline::Request> waiting = std::exchange(m_waitingForRules, std::nullopt))
        launch(std::move(*waiting));
}

const QList<RuleSubject>& RefreshRun::lastScan() const
{
    return m_lastScan;
}

void RefreshRun::finish(const RefreshPipeline::Outcome& result)
{
    m_activity.releaseLock();
    const std::optional<QList<PlanItem>> before = std::exchange(m_planBeforeRefresh, std::nullopt);
    if (result.cancelled) {
        finishStopped(before);
        return;
    }
    if (result.failure) {
        finishFailed(result, before.has_value());
        return;
    }
    m_lastRunCost = closeUsage(result.classified);
    Q_EMIT lastRunCostChanged();
    if (result.capNotice)
        m_activity.setMessage(result.capNotice);
    m_everyRequestFailed = result.everyRequestFailed.has_value();
    if (result.everyRequestFailed)
        m_activity.setMessage(result.everyRequestFailed);
    m_lastScan = result.subjects;
    // Rules the person changed while the refresh ran: the new plan follows them too.
    const QList<PlanItem> plan
        = m_rulesAsked == m_rulesVersion ? result.plan : UserRules::applyToPlan(result.plan, m_rules, QDir::homePath());
    m_review.replace(plan);
    if (!plan.isEmpty()) {
        m_activity.setPhase(Phase::review);
        if (m_notifier)
            m_notifier->planReady(int(plan.size()));
    } else {
        m_moves.recordNothingToMove();
        m_preferences.recordRun();
        m_activity.setPhase(Phase::done);
    }
    Q_EMIT finished();
}

std::optional<double> RefreshRun::closeUsage(int files)
{
    // A server of one's own costs nothing, and its runs are no part of what Claude cost; without
    // a model nothing was asked at all.
    if (m_sortedWith != SortWith::claude)
        return std::nullopt;
    return Usage::shared().endRun(files, m_clock.now());
}

void RefreshRun::finishStopped(const std::optional<QList<PlanItem>>& before)
{
    closeUsage(0);
    if (before)
        m_review.show(*before);
    m_activity.setPhase(before ? Phase::review : Phase::idle);
    m_activity.setMessage(refreshStoppedText());
    Q_EMIT finished();
}

void RefreshRun::finishFailed(const RefreshPipeline::Outcome& result, bool planWaited)
{
    if (!result.connectionFailed) {
        m_lastRunCost = closeUsage(0);
        Q_EMIT lastRunCostChanged();
    }
    // A failed refresh still drops the plan that waited before it: it was started to replace
    // that plan, and half a new one is never shown.
    if (planWaited)
        m_review.replace({});
    m_activity.setPhase(Phase::idle);
    m_activity.setMessage(result.failure->errorDescription());
    Q_EMIT finished();
}

void RefreshRun::autoCheck()
{
    const Profile& profile = m_preferences.profile();
    if (!profile.autoTidy || !profile.onboarded || m_activity.phase() != Phase::idle)
        return;
    const QDateTime local = m_clock.now().toLocalTime();
    if (!Notifier::isWeeklyHour(local))
        return;
    if (!profile.lastRun || profile.lastRun->toLocalTime().date() != local.date())
        start(TidyMode::quick);
}

void RefreshRun::refreshNewFiles()
{
    const std::optional<QDateTime> since = m_preferences.profile().lastRun;
    const QString home = QDir::homePath();
    auto* watcher = new QFutureWatcher<int>(this);
    connect(watcher, &QFutureWatcher<int>::finished, this, [this, watcher] {
        m_newFiles = watcher->result();
        Q_EMIT newFilesChanged();
        watcher->deleteLater();
    });
    watcher->setFuture(QtConcurrent::run([since, home] {
        int count = 0;
        for (const QString& folder : UserFolders::landing(home))
            count += countNewEntries(folder, since);
        return count;
    }));
}

std::optional<QString> RefreshRun::timeLeftText() const
{
    if (m_activity.phase() != Phase::scanning || !m_classifyStart || m_decided >= m_total)
        return std::nullopt;
    const double elapsed = double(m_classifyStart->msecsTo(m_clock.now())) / 1000.0;
    const int done = m_decided - m_classifyBaseline;
    if (elapsed <= 6 || done < 1)
        return estimatingText();
    const double remaining = (m_total - m_decided) / (done / elapsed);
    if (remaining >= 60)
        return tr("About %1 min left").arg(qint64(remaining / 60));
    return tr("Less than a minute left");
}

QString RefreshRun::calmStatus() const
{
    if (m_activity.phase() == Phase::applying)
        return tr("Putting everything in its place");
    const std::optional<QString> left = timeLeftText();
    if (left && *left != estimatingText())
        return *left;
    if (m_activity.isLearning())
        return tr("Learning what you work on\u2026");
    if (!m_classifyStart)
        return tr("Getting started\u2026");
    return estimatingText();
}
