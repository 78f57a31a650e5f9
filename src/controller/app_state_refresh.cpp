// The refresh run as the controller sees it: starting, following, stopping and finishing it.
#include "app_state.h"

#include "model/store.h"
#include "platform/clock.h"
#include "refresh_pipeline.h"
#include "schedule/notifier.h"
#include "store_writer.h"
#include "understanding/usage.h"

#include <QDir>
#include <QFutureWatcher>
#include <QPointer>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

RefreshPipeline::Reports AppState::reportsToThisThread()
{
    // Reports from the background go through the event loop; a report for a controller that is
    // gone is dropped with its event.
    QPointer<AppState> self(this);
    const auto post = [self](std::function<void(AppState&)> change) {
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
        post([status, learning](AppState& s) { s.setStatus(status, learning); });
    };
    reports.total = [post](int total) {
        post([total](AppState& s) {
            s.m_total = total;
            Q_EMIT s.totalChanged();
        });
    };
    reports.learned = [post](const QList<Project>& added, const QString& status) {
        post([added, status](AppState& s) {
            Profile updated = s.m_profile;
            updated.projects += added;
            s.setProfile(updated);
            s.setStatus(status, true);
        });
    };
    reports.progress = [post](int decided, int total, const QMap<QString, int>& counts) {
        post([=](AppState& s) { s.applyProgress(decided, total, counts); });
    };

    return reports;
}

void AppState::start(TidyMode mode)
{
    if (isBusy())
        return;
    if (!m_profile.onboarded) {
        Q_EMIT windowRequested(u"onboarding"_s);
        return;
    }
    if (!acquireLock())
        return;
    setPhase(Phase::scanning);
    setStatus(tr("Looking through your folders"));
    resetProgress();
    setMessage(std::nullopt);
    // The waiting plan stays on disk until the new one is there, so a stopped refresh or a quit
    // in the middle loses nothing.
    submitEdits();
    m_planBeforeRefresh = m_plan.isEmpty() ? std::nullopt : std::optional(m_plan);
    m_saveTimer.stop();
    setPlanInMemory({});

    RefreshPipeline::Request request;
    request.profile = m_profile;
    request.apiKey = m_apiKey;
    request.mode = mode;
    request.scan = RefreshPipeline::scanOptions(m_profile, mode, QDir::homePath());
    request.clock = m_clock;
    m_cancellation = std::make_shared<Cancellation>();
    request.cancellation = m_cancellation;
    Usage::shared().reset();

    const RefreshPipeline::Reports reports = reportsToThisThread();
    auto* watcher = new QFutureWatcher<RefreshPipeline::Outcome>(this);
    connect(watcher, &QFutureWatcher<RefreshPipeline::Outcome>::finished, this, [this, watcher] {
        finishRefresh(watcher->result());
        watcher->deleteLater();
    });
    const QFuture<RefreshPipeline::Outcome> pipeline
        = QtConcurrent::run([request, reports] { return RefreshPipeline::run(request, reports); });
    m_pipeline = QFuture<void>(pipeline);
    watcher->setFuture(pipeline);
}

void AppState::cancelRefresh()
{
    if (m_phase == Phase::scanning && m_cancellation)
        m_cancellation->cancel();
}

void AppState::finishRefresh(const RefreshPipeline::Outcome& result)
{
    m_lock.release();
    const std::optional<QList<PlanItem>> before = std::exchange(m_planBeforeRefresh, std::nullopt);
    if (result.cancelled) {
        Usage::shared().endRun(0, now());
        if (before)
            setPlanInMemory(*before);
        setPhase(before ? Phase::review : Phase::idle);
        setMessage(refreshStoppedText());
        Q_EMIT refreshFinished();
        return;
    }
    if (result.failure) {
        if (!result.connectionFailed) {
            m_lastRunCost = Usage::shared().endRun(0, now());
            Q_EMIT lastRunCostChanged();
        }
        // A failed refresh still drops the plan that waited before it: it was started to
        // replace that plan, and half a new one is never shown.
        if (before)
            replacePlan({});
        setPhase(Phase::idle);
        setMessage(result.failure->errorDescription());
        Q_EMIT refreshFinished();
        return;
    }
    m_lastRunCost = Usage::shared().endRun(result.classified, now());
    Q_EMIT lastRunCostChanged();
    if (result.capNotice)
        setMessage(result.capNotice);
    replacePlan(result.plan);
    if (!result.plan.isEmpty()) {
        setPhase(Phase::review);
        if (m_notifier)
            m_notifier->planReady(int(result.plan.size()));
    } else {
        m_lastResult = ApplyResult {};
        Q_EMIT lastResultChanged();
        Profile updated = m_profile;
        updated.lastRun = now();
        setProfile(updated);
        setPhase(Phase::done);
    }
    Q_EMIT refreshFinished();
}

void AppState::testConnection(const QString& typedKey)
{
    const QString key = typedKey.trimmed();
    const QString model = m_profile.model;
    const Clock* clock = m_clock;
    auto* watcher = new QFutureWatcher<std::optional<QString>>(this);
    connect(watcher, &QFutureWatcher<std::optional<QString>>::finished, this, [this, watcher] {
        const std::optional<QString> failure = watcher->result();
        watcher->deleteLater();
        Q_EMIT connectionTested(!failure, failure.value_or(tr("Connected.")));
    });
    watcher->setFuture(QtConcurrent::run([key, model, clock]() -> std::optional<QString> {
        if (const std::optional<APIError> failure = RefreshPipeline::checkConnection(key, model, clock, {}))
            return failure->errorDescription();
        return std::nullopt;
    }));
}
