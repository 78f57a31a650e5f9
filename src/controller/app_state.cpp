#include "app_state.h"

#include "model/store.h"
#include "platform/clock.h"
#include "platform/file_io.h"
#include "platform/relative_time.h"
#include "schedule/dbus_notifications.h"
#include "schedule/notifier.h"
#include "store_writer.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QtConcurrent>

#include <dirent.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

bool exists(const QUrl& url)
{
    struct stat info
    { };
    return ::lstat(QFile::encodeName(url.toLocalFile()).constData(), &info) == 0;
}

QList<PlanItem> existingOnly(const QList<PlanItem>& items)
{
    QList<PlanItem> kept;
    kept.reserve(items.size());
    for (const PlanItem& item : items) {
        if (exists(item.src))
            kept.append(item);
    }
    return kept;
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

AppState::AppState(const Clock* clock, QObject* parent)
    : QObject(parent)
    , m_clock(clock ? clock : &SystemClock::instance())
    , m_profile(Profile::defaults())
    , m_writer(new StoreWriter(this))
{
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(kSaveDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &AppState::submitEdits);
    connect(m_writer, &StoreWriter::reloaded, this, &AppState::adoptOutsidePlan);
    connect(m_writer, &StoreWriter::planWritten, this, [this](bool landed) {
        if (!landed && !m_plan.isEmpty())
            setMessage(planNotSavedText());
    });
}

AppState::~AppState()
{
    // A refresh in the background holds copies of what it needs; stop it and let it end before
    // the controller goes, so its last reports find nothing to write to. A move in hand finishes
    // and its log is written before the mover returns.
    if (m_cancellation)
        m_cancellation->cancel();
    m_pipeline.waitForFinished();
    flushEdits();
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
    return tr("Brindlow is already busy with your files in another window. Try again when it's done.");
}

QString AppState::planNotSavedText()
{
    return tr("The plan could not be saved: the disk may be full. Nothing was moved.");
}

QString AppState::refreshStoppedText()
{
    return tr("Refresh stopped. Nothing was moved.");
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
    loadPendingPlan();
    importPlan();
    refreshLastLogText();
    // Another Brindlow (the command line, say) may edit the plan while this one runs.
    m_watcher.addPath(Store::dir());
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] {
        if (!isBusy())
            m_writer->checkForOutsideChange();
    });
    if (!m_notifier)
        m_notifier = new Notifier(new DBusNotifications(this), m_clock, this);
    connect(m_notifier, &Notifier::clicked, this, &AppState::handleNotification);
    if (m_profile.onboarded)
        setUpNotifications();
    Q_EMIT profileChanged();
    Q_EMIT apiKeyChanged();
}

void AppState::loadPendingPlan()
{
    const StoreWriter::Stamp stamp = StoreWriter::planFileStamp();
    const QList<PlanItem> stored = Store::loadPlan();
    const QList<PlanItem> pending = movableOnly(existingOnly(stored));
    const bool stale = std::any_of(pending.cbegin(), pending.cend(), [](const PlanItem& item) {
        return item.reason.contains(u"credit balance"_s) || item.reason.contains(u"Claude API error"_s);
    });
    if (stale) {
        replacePlan({});
        return;
    }
    setPlanInMemory(pending);
    if (pending.size() == stored.size())
        m_writer->adopt(stored, stamp);
    else
        m_writer->replace(pending, m_generation);
    if (!pending.isEmpty())
        setPhase(Phase::review);
}

void AppState::importPlan()
{
    const QString importPath = QDir::homePath() + u"/Documents/Brindlow App/import-plan.json"_s;
    const std::optional<QByteArray> bytes = FileIo::readRegular(importPath, 256 * 1024 * 1024);
    if (!bytes)
        return;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes);
    QList<PlanItem> imported;
    bool decodes = document.isArray();
    for (const QJsonValue& value : document.array()) {
        const std::optional<PlanItem> item = PlanItem::fromJson(value);
        decodes = decodes && item;
        if (item)
            imported.append(*item);
    }
    if (!decodes)
        return;
    QFile::rename(importPath,
                  QFileInfo(importPath).path() + u"/import-plan.loaded-"_s + QString::number(now().toSecsSinceEpoch())
                      + u".json"_s);
    imported = movableOnly(existingOnly(imported));
    if (imported.isEmpty())
        return;
    replacePlan(imported);
    setPhase(Phase::review);
    m_clock->callAfter(std::chrono::milliseconds(1500), this, [this] { Q_EMIT windowRequested(u"review"_s); });
}

QList<PlanItem> AppState::movableOnly(const QList<PlanItem>& items) const
{
    QSet<QString> folders;
    for (const QString& folder : m_profile.scanFolders)
        folders.insert(QDir::cleanPath(QDir::home().absoluteFilePath(folder)));
    QList<PlanItem> kept;
    kept.reserve(items.size());
    for (const PlanItem& item : items) {
        const QString path = QDir::cleanPath(item.src.toLocalFile());
        if (folders.contains(path.left(path.lastIndexOf(u'/'))))
            kept.append(item);
    }
    return kept;
}

void AppState::setUpNotifications()
{
    if (m_notifier)
        m_notifier->setUp(m_profile.autoTidy);
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
int AppState::rowOf(qint64 id) const
{
    return m_rows.value(id, -1);
}
std::optional<ApplyResult> AppState::lastResult() const
{
    return m_lastResult;
}
std::optional<UndoResult> AppState::lastUndo() const
{
    return m_lastUndo;
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
bool AppState::isUndoing() const
{
    return m_phase == Phase::applying && m_undoing;
}

void AppState::setPhase(Phase phase)
{
    if (m_phase != phase) {
        m_phase = phase;
        Q_EMIT phaseChanged();
    }
}

QString AppState::estimatingText()
{
    return tr("Estimating time left\u2026");
}

void AppState::setStatus(const QString& status, bool learning)
{
    m_statusIsLearning = learning;
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

void AppState::resetProgress()
{
    m_decided = 0;
    m_total = 0;
    m_liveCounts.clear();
    m_classifyStart.reset();
    m_classifyBaseline = 0;
    Q_EMIT decidedChanged();
    Q_EMIT totalChanged();
    Q_EMIT liveCountsChanged();
    Q_EMIT classifyStartChanged();
}

void AppState::setPlanInMemory(const QList<PlanItem>& plan)
{
    Q_EMIT planAboutToBeReset();
    m_plan = plan;
    m_suggestions.reset();
    m_rows.clear();
    m_rows.reserve(m_plan.size());
    for (int row = 0; row < m_plan.size(); ++row)
        m_rows.insert(m_plan[row].id, row);
    Q_EMIT planReset();
    Q_EMIT planChanged();
}

void AppState::replacePlan(const QList<PlanItem>& plan)
{
    // Edits not yet handed over belong to the plan being replaced.
    m_saveTimer.stop();
    m_unsubmitted.clear();
    m_editedAt.clear();
    setPlanInMemory(plan);
    m_submitted = ++m_generation;
    m_writer->replace(m_plan, m_generation);
}

void AppState::setProfile(const Profile& changed)
{
    Profile profile = changed;
    // Everything is filed under the home base: it never leaves the home folder.
    if (!Profile::isUsableHomeBase(profile.homeBase, QDir::homePath()))
        profile.homeBase = Profile::defaults(QDir::homePath()).homeBase;
    const bool reminderRuleChanged = profile.autoTidy != m_profile.autoTidy || profile.onboarded != m_profile.onboarded;
    m_profile = profile;
    m_suggestions.reset();
    m_writer->saveProfile(m_profile);
    Q_EMIT profileChanged();
    if (reminderRuleChanged && m_profile.onboarded)
        setUpNotifications();
}

bool AppState::sundayReminderOn() const
{
    return Notifier::reminderOn();
}

void AppState::setSundayReminderOn(bool on)
{
    Notifier::setReminderOn(on);
    if (m_profile.onboarded)
        setUpNotifications();
    Q_EMIT sundayReminderChanged();
}

void AppState::saveKey(const QString& key)
{
    m_apiKey = key.trimmed();
    m_writer->saveKey(m_apiKey);
    Q_EMIT apiKeyChanged();
}

void AppState::discardPlan()
{
    if (isBusy())
        return;
    // Another Brindlow may be moving the files of this very plan right now.
    if (!acquireLock())
        return;
    m_lock.release();
    replacePlan({});
    setPhase(Phase::idle);
}

void AppState::acknowledgeDone()
{
    if (m_phase == Phase::done)
        setPhase(Phase::idle);
}

void AppState::setRecap(const std::optional<RecapData>& recap)
{
    m_recap = recap;
    Q_EMIT recapChanged();
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
        Q_EMIT windowRequested(u"review"_s);
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
        return tr("Ready for a fresh start");
    return tr("Last refresh %1").arg(RelativeTime::format(*m_profile.lastRun, now()));
}

QString AppState::lastLogText() const
{
    return m_lastLogText;
}

void AppState::refreshLastLogText()
{
    auto* watcher = new QFutureWatcher<QString>(this);
    connect(watcher, &QFutureWatcher<QString>::finished, this, [this, watcher] {
        const QString text = watcher->result();
        watcher->deleteLater();
        if (text != m_lastLogText) {
            m_lastLogText = text;
            Q_EMIT lastLogTextChanged();
        }
    });
    watcher->setFuture(QtConcurrent::run([] {
        const std::optional<QString> log = Store::latestLog();
        if (!log)
            return QString();
        const QDateTime modified = QFileInfo(*log).lastModified();
        return modified.isValid() ? QLocale::system().toString(modified.date(), u"MMM d"_s) : QString();
    }));
}

std::optional<QString> AppState::timeLeftText() const
{
    if (m_phase != Phase::scanning || !m_classifyStart || m_decided >= m_total)
        return std::nullopt;
    const double elapsed = double(m_classifyStart->msecsTo(now())) / 1000.0;
    const int done = m_decided - m_classifyBaseline;
    if (elapsed <= 6 || done < 1)
        return estimatingText();
    const double remaining = (m_total - m_decided) / (done / elapsed);
    if (remaining >= 60)
        return tr("About %1 min left").arg(qint64(remaining / 60));
    return tr("Less than a minute left");
}

QString AppState::calmStatus() const
{
    if (m_phase == Phase::applying)
        return tr("Putting everything in its place");
    const std::optional<QString> left = timeLeftText();
    if (left && *left != estimatingText())
        return *left;
    if (m_statusIsLearning)
        return tr("Learning what you work on\u2026");
    if (!m_classifyStart)
        return tr("Getting started\u2026");
    return estimatingText();
}
