#include "app_state.h"

#include "platform/clock.h"
#include "platform/file_io.h"
#include "platform/relative_time.h"
#include "scan/scanner.h"
#include "schedule/dbus_notifications.h"
#include "schedule/notifier.h"
#include "store.h"
#include "understanding/classifier.h"
#include "understanding/claude_api.h"
#include "understanding/discovery.h"
#include "understanding/usage.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QPointer>
#include <QtConcurrent>

#include <dirent.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kCouldNotReach = u"Couldn't reach Claude. Check your internet connection and try again."_s;
const QString kDiscoveryModel = u"claude-opus-5-5"_s;

bool exists(const QUrl& url)
{
    struct stat info
    { };
    return ::lstat(QFile::encodeName(url.toLocalFile()).constData(), &info) == 0;
}

QList<PlanItem> existingOnly(const QList<PlanItem>& items)
{
    QList<PlanItem> kept;
    for (const PlanItem& item : items) {
        if (exists(item.src))
            kept.append(item);
    }
    return kept;
}

QString number(qsizetype n)
{
    return QLocale::system().toString(qint64(n));
}

int countNewEntries(const QString& folder, const std::optional<QDateTime>& since)
{
    int count = 0;
    DIR* dir = ::opendir(QFile::encodeName(folder).constData());
    if (!dir)
        return 0;
    const int fd = ::dirfd(dir);
    while (const dirent* entry = ::readdir(dir)) {
        if (entry->d_name[0] == '.')
            continue;
        struct stat info
        { };
        if (!since) {
            ++count;
        } else if (::fstatat(fd, entry->d_name, &info, 0) == 0) {
            const qint64 ms = qint64(info.st_mtim.tv_sec) * 1000 + info.st_mtim.tv_nsec / 1000000;
            count += ms > since->toMSecsSinceEpoch();
        }
    }
    ::closedir(dir);
    return count;
}

} // namespace

struct AppState::RefreshResult
{
    std::optional<APIError> failure;
    bool connectionFailed = false;
    QList<PlanItem> plan;
    std::optional<QString> capNotice;
    int scanned = 0;
};

AppState::AppState(const Clock* clock, QObject* parent)
    : QObject(parent)
    , m_clock(clock ? clock : &SystemClock::instance())
    , m_profile(Profile::defaults())
{ }

AppState::~AppState()
{
    // A refresh in the background holds copies of what it needs; stop it and let it end before
    // the controller goes, so its last reports find nothing to write to.
    if (m_cancellation)
        m_cancellation->cancel();
    m_pipeline.waitForFinished();
}

bool AppState::acquireLock()
{
    m_lock = ProcessLock::tryAcquire(Store::dir() + u"/busy.lock"_s);
    if (!m_lock.held())
        setMessage(otherProcessBusyText());
    return m_lock.held();
}

QString AppState::otherProcessBusyText()
{
    return u"Brindlow is already busy with your files in another window. Try again when it's done."_s;
}

QDateTime AppState::now() const
{
    return m_clock->now();
}

void AppState::setNotifier(Notifier* notifier)
{
    m_notifier = notifier;
}

Notifier* AppState::notifier() const
{
    return m_notifier;
}

void AppState::init()
{
    m_profile = Store::loadProfile();
    m_apiKey = Store::loadKey().value_or(QString());
    m_timer.setInterval(kCheckIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        autoCheck();
        if (m_notifier)
            m_notifier->checkReminder();
    });
    m_timer.start();

    const QList<PlanItem> pending = existingOnly(Store::loadPlan());
    const bool stale = std::any_of(pending.cbegin(), pending.cend(), [](const PlanItem& item) {
        return item.reason.contains(u"credit balance"_s) || item.reason.contains(u"Claude API error"_s);
    });
    if (stale) {
        Store::savePlan({});
    } else if (!pending.isEmpty()) {
        setPlan(pending);
        Store::savePlan(pending);
        setPhase(Phase::review);
    }

    const QString importPath = QDir::homePath() + u"/Documents/Brindlow App/import-plan.json"_s;
    if (const std::optional<QByteArray> bytes = FileIo::readRegular(importPath, 256 * 1024 * 1024)) {
        const QJsonDocument document = QJsonDocument::fromJson(*bytes);
        QList<PlanItem> imported;
        bool decodes = document.isArray();
        for (const QJsonValue& value : document.array()) {
            const std::optional<PlanItem> item = PlanItem::fromJson(value);
            decodes = decodes && item;
            if (item)
                imported.append(*item);
        }
        if (decodes) {
            QFile::rename(importPath,
                          QFileInfo(importPath).path() + u"/import-plan.loaded-"_s
                              + QString::number(now().toSecsSinceEpoch()) + u".json"_s);
            imported = existingOnly(imported);
            if (!imported.isEmpty()) {
                setPlan(imported);
                Store::savePlan(imported);
                setPhase(Phase::review);
                QTimer::singleShot(1500, this, [this] {
                    if (openWindow)
                        openWindow(u"review"_s);
                });
            }
        }
    }
    if (!m_notifier)
        m_notifier = new Notifier(new DBusNotifications(this), m_clock, this);
    connect(m_notifier, &Notifier::clicked, this, &AppState::handleNotification);
    if (m_profile.onboarded)
        m_notifier->setUp(m_profile.autoTidy);
    Q_EMIT profileChanged();
    Q_EMIT apiKeyChanged();
}

const Profile& AppState::profile() const
{
    return m_profile;
}
QString AppState::apiKey() const
{
    return m_apiKey;
}
Phase AppState::phase() const
{
    return m_phase;
}
QString AppState::status() const
{
    return m_status;
}
int AppState::decided() const
{
    return m_decided;
}
int AppState::total() const
{
    return m_total;
}
QMap<QString, int> AppState::liveCounts() const
{
    return m_liveCounts;
}
std::optional<double> AppState::lastRunCost() const
{
    return m_lastRunCost;
}
const QList<PlanItem>& AppState::plan() const
{
    return m_plan;
}
std::optional<ApplyResult> AppState::lastResult() const
{
    return m_lastResult;
}
std::optional<QString> AppState::message() const
{
    return m_message;
}
int AppState::newFiles() const
{
    return m_newFiles;
}
std::optional<RecapData> AppState::recap() const
{
    return m_recap;
}
std::optional<QDateTime> AppState::classifyStart() const
{
    return m_classifyStart;
}
bool AppState::isBusy() const
{
    return m_phase == Phase::scanning || m_phase == Phase::applying;
}

void AppState::setPhase(Phase phase)
{
    if (m_phase != phase) {
        m_phase = phase;
        Q_EMIT phaseChanged();
    }
}

void AppState::setStatus(const QString& status)
{
    if (m_status != status) {
        m_status = status;
        Q_EMIT statusChanged();
    }
}

void AppState::setMessage(const std::optional<QString>& message)
{
    if (m_message != message) {
        m_message = message;
        Q_EMIT messageChanged();
    }
}

void AppState::setPlan(const QList<PlanItem>& plan)
{
    m_plan = plan;
    Q_EMIT planChanged();
}

void AppState::setProfile(const Profile& profile)
{
    m_profile = profile;
    Store::saveProfile(m_profile);
    Q_EMIT profileChanged();
}

void AppState::saveKey(const QString& key)
{
    m_apiKey = key.trimmed();
    Store::saveKey(m_apiKey);
    Q_EMIT apiKeyChanged();
}

void AppState::discardPlan()
{
    setPlan({});
    Store::savePlan({});
    setPhase(Phase::idle);
}

void AppState::applyProgress(int decided, int total, const QMap<QString, int>& counts)
{
    if (!m_classifyStart) {
        m_classifyStart = now();
        m_classifyBaseline = decided;
        Q_EMIT classifyStartChanged();
    }
    m_decided = decided;
    m_total = total;
    m_liveCounts = counts;
    Q_EMIT decidedChanged();
    Q_EMIT totalChanged();
    Q_EMIT liveCountsChanged();
}

void AppState::start(TidyMode mode)
{
    if (isBusy())
        return;
    if (!m_profile.onboarded) {
        if (openWindow)
            openWindow(u"onboarding"_s);
        return;
    }
    if (!acquireLock())
        return;
    setPhase(Phase::scanning);
    setStatus(u"Looking through your folders"_s);
    m_decided = 0;
    m_total = 0;
    m_liveCounts.clear();
    m_classifyStart.reset();
    setMessage(std::nullopt);
    setPlan({});
    Store::savePlan({});

    const Profile profile = m_profile;
    const QString key = m_apiKey;
    const QString home = QDir::homePath();
    ScanOptions options;
    const bool narrow = mode == TidyMode::quick && profile.lastRun;
    for (const QString& folder : profile.scanFolders) {
        if (!narrow || folder == u"Desktop" || folder == u"Downloads")
            options.roots.append(QUrl::fromLocalFile(home + u'/' + folder));
    }
    if (mode == TidyMode::quick)
        options.since = profile.lastRun;
    for (const char16_t* name : {u"Projects",
                                 u"Creator",
                                 u"Personal",
                                 u"Work Admin",
                                 u"Archive",
                                 u"Brindlow Review",
                                 u"Quillmere",
                                 u"Brindlow App"})
        options.exclude.append(QUrl::fromLocalFile(profile.homeBase + u'/' + QString::fromUtf16(name)));
    Usage::shared().reset();

    QPointer<AppState> self(this);
    const Clock* clock = m_clock;
    m_cancellation = std::make_shared<Cancellation>();
    const CancellationPtr cancellation = m_cancellation;
    // Reports from the background go through the event loop; a report for a controller that is
    // gone is dropped with its event.
    const auto post = [self](std::function<void(AppState&)> change) {
        QMetaObject::invokeMethod(
            self.data(),
            [self, change] {
                if (self)
                    change(*self);
            },
            Qt::QueuedConnection);
    };
    auto* watcher = new QFutureWatcher<RefreshResult>(this);
    connect(watcher, &QFutureWatcher<RefreshResult>::finished, this, [this, watcher] {
        finishRefresh(watcher->result());
        watcher->deleteLater();
    });
    const QFuture<RefreshResult> pipeline = QtConcurrent::run([=]() {
        RefreshResult result;
        ClaudeAPI ping(key, profile.model);
        ping.setClock(clock);
        ping.setCancellation(cancellation);
        const ClaudeAPI::Result check
            = ping.send(u"Reply with OK."_s, {QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, u"ping"_s}}}, 5);
        if (const APIError* error = std::get_if<APIError>(&check)) {
            result.failure = *error;
            result.connectionFailed = true;
            return result;
        }

        QList<ScannedItem> items = Scanner::run(options, [post](int found) {
            post([found](AppState& state) { state.setStatus(u"Found "_s + number(found) + u" files"_s); });
        });
        result.scanned = int(items.size());
        if (items.size() > kMaxItems) {
            std::stable_sort(items.begin(), items.end(), [](const ScannedItem& a, const ScannedItem& b) {
                return a.modified > b.modified;
            });
            items.resize(kMaxItems);
            result.capNotice = u"Sorted your newest "_s + number(kMaxItems) + u" files. Run it again for the rest."_s;
        }
        const int count = int(items.size());
        post([count](AppState& state) {
            state.m_total = count;
            Q_EMIT state.totalChanged();
        });

        Profile current = profile;
        if (mode == TidyMode::deep || current.projects.isEmpty()) {
            post([](AppState& state) { state.setStatus(u"Learning what you work on"_s); });
            Discovery::Options discoveryOptions;
            discoveryOptions.clock = clock;
            discoveryOptions.cancellation = cancellation;
            const QList<Project> found
                = Discovery::run(items, current.projects, key, kDiscoveryModel, discoveryOptions);
            QSet<QString> known;
            for (const Project& project : current.projects)
                known.insert(project.name.toLower());
            QList<Project> added;
            for (const Project& project : found) {
                if (!known.contains(project.name.toLower()))
                    added.append(project);
            }
            if (!added.isEmpty()) {
                current.projects += added;
                QStringList names;
                for (const Project& project : added.first(std::min<qsizetype>(4, added.size())))
                    names.append(project.name);
                post([added, names](AppState& state) {
                    Profile updated = state.m_profile;
                    updated.projects += added;
                    state.setProfile(updated);
                    state.setStatus(u"Found "_s + names.join(u", "_s));
                });
            }
        }
        post([count](AppState& state) {
            state.setStatus(count > 0 ? u"Looking at "_s + number(count) + u" files"_s : u"Nothing new to sort"_s);
        });

        Classifier classifier(key, current);
        classifier.setClock(clock);
        classifier.setCancellation(cancellation);
        const auto outcome
            = classifier.buildPlan(items, mode, [post](int decided, int total, const QMap<QString, int>& counts) {
                  post([=](AppState& state) { state.applyProgress(decided, total, counts); });
              });
        if (const APIError* error = std::get_if<APIError>(&outcome))
            result.failure = *error;
        else
            result.plan = std::get<QList<PlanItem>>(outcome);
        return result;
    });
    m_pipeline = QFuture<void>(pipeline);
    watcher->setFuture(pipeline);
}

void AppState::finishRefresh(const RefreshResult& result)
{
    m_lock.release();
    if (result.failure) {
        if (!result.connectionFailed) {
            m_lastRunCost = Usage::shared().endRun(0, now());
            Q_EMIT lastRunCostChanged();
        }
        const APIError& error = *result.failure;
        setPhase(Phase::idle);
        setMessage(error.errorDescription());
        Q_EMIT refreshFinished();
        return;
    }
    m_lastRunCost = Usage::shared().endRun(result.scanned, now());
    Q_EMIT lastRunCostChanged();
    if (result.capNotice)
        setMessage(result.capNotice);
    setPlan(result.plan);
    Store::savePlan(result.plan);
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

void AppState::autoCheck()
{
    if (!m_profile.autoTidy || !m_profile.onboarded || m_phase != Phase::idle)
        return;
    const QDateTime local = now().toLocalTime();
    if (local.date().dayOfWeek() != Qt::Sunday || local.time().hour() < 9)
        return;
    if (!m_profile.lastRun || m_profile.lastRun->toLocalTime().date() != local.date())
        start(TidyMode::quick);
}

void AppState::handleNotification(const QString& identifier)
{
    if (!m_plan.isEmpty() && m_phase == Phase::review) {
        if (openWindow)
            openWindow(u"review"_s);
        return;
    }
    if (identifier == u"sunday-reminder")
        start(TidyMode::quick);
}

void AppState::refreshNewFiles()
{
    const std::optional<QDateTime> since = m_profile.lastRun;
    const QString home = QDir::homePath();
    auto* watcher = new QFutureWatcher<int>(this);
    connect(watcher, &QFutureWatcher<int>::finished, this, [this, watcher] {
        m_newFiles = watcher->result();
        Q_EMIT newFilesChanged();
        watcher->deleteLater();
    });
    watcher->setFuture(QtConcurrent::run([since, home] {
        return countNewEntries(home + u"/Desktop"_s, since) + countNewEntries(home + u"/Downloads"_s, since);
    }));
}

QString AppState::lastRunText() const
{
    if (!m_profile.lastRun)
        return u"Ready for a fresh start"_s;
    return u"Last refresh "_s + RelativeTime::format(*m_profile.lastRun, now());
}

QString AppState::lastLogText() const
{
    const std::optional<QString> log = Store::latestLog();
    if (!log)
        return {};
    const QDateTime modified = QFileInfo(*log).lastModified();
    return modified.isValid() ? QLocale::system().toString(modified.date(), u"MMM d"_s) : QString();
}

std::optional<QString> AppState::timeLeftText() const
{
    if (m_phase != Phase::scanning || !m_classifyStart || m_decided >= m_total)
        return std::nullopt;
    const double elapsed = double(m_classifyStart->msecsTo(now())) / 1000.0;
    const int done = m_decided - m_classifyBaseline;
    if (elapsed <= 6 || done < 1)
        return u"Estimating time left\u2026"_s;
    const double remaining = (m_total - m_decided) / (done / elapsed);
    if (remaining >= 60)
        return u"About "_s + QString::number(qint64(remaining / 60)) + u" min left"_s;
    return u"Less than a minute left"_s;
}

QString AppState::calmStatus() const
{
    if (m_phase == Phase::applying)
        return u"Putting everything in its place"_s;
    const std::optional<QString> left = timeLeftText();
    if (left && *left != u"Estimating time left\u2026")
        return *left;
    if (m_status.startsWith(u"Learning"_s) || m_status.startsWith(u"Found "_s))
        return u"Learning what you work on\u2026"_s;
    if (!m_classifyStart)
        return u"Getting started\u2026"_s;
    return u"Estimating time left\u2026"_s;
}
