#include "preferences.h"

#include "common/relative_time.h"
#include "model/store.h"
#include "platform/clock.h"
#include "refresh_pipeline.h"
#include "schedule/notifier.h"
#include "store_writer.h"
#include "understanding/server_check.h"

#include <QDir>
#include <QFutureWatcher>
#include <QtConcurrent>

namespace {

// A key is printable ASCII without spaces; anything else is a damaged file, and would not even
// make a valid request header.
bool usableKey(const QString& key)
{
    return !key.isEmpty()
        && std::all_of(key.cbegin(), key.cend(), [](QChar c) { return c.unicode() > 0x20 && c.unicode() < 0x7f; });
}

Profile withUsableHomeBase(Profile profile)
{
    if (!Profile::isUsableHomeBase(profile.homeBase, QDir::homePath()))
        profile.homeBase = Profile::defaults(QDir::homePath()).homeBase;
    return profile;
}

} // namespace

Preferences::Preferences(StoreWriter& writer, const Clock& clock)
    : m_writer(writer)
    , m_clock(clock)
    , m_profile(Profile::defaults())
{
    connect(&m_writer, &StoreWriter::profileStored, this, &Preferences::adoptStored);
}

QString Preferences::keyMissingText()
{
    return tr("Your Claude API key is missing or damaged. Add it again in Settings.");
}

QString Preferences::serverMissingText()
{
    return tr("Add your model server's address and model name in Settings.");
}

void Preferences::load(Notifier* notifier)
{
    m_notifier = notifier;
    m_profile = Store::loadProfile(&m_rejectedHomeBase);
    const QString key = Store::loadKey().value_or(QString());
    m_apiKey = usableKey(key) ? key : QString();
    const QString serverKey = Store::loadKey(Store::KeyFor::server).value_or(QString());
    m_serverKey = usableKey(serverKey) ? serverKey : QString();
    if (m_profile.onboarded)
        setUpNotifications();
    Q_EMIT profileChanged();
    Q_EMIT apiKeyChanged();
}

void Preferences::setUpNotifications()
{
    if (m_notifier)
        m_notifier->setUp(m_profile.autoTidy);
}

const Profile& Preferences::profile() const
{
    return m_profile;
}

void Preferences::setProfile(const Profile& changed)
{
    const Profile profile = withUsableHomeBase(changed);
    const ProfileChange change = ProfileChange::between(m_profile, profile);
    if (change.isEmpty())
        return;
    m_unstored.append({change, ++m_generation});
    m_writer.changeProfile(change, m_generation);
    use(profile);
}

void Preferences::use(const Profile& profile)
{
    if (profile == m_profile)
        return;
    const bool reminderRuleChanged = profile.autoTidy != m_profile.autoTidy || profile.onboarded != m_profile.onboarded;
    m_profile = profile;
    Q_EMIT profileChanged();
    if (reminderRuleChanged && m_profile.onboarded)
        setUpNotifications();
}

void Preferences::adoptStored(const Profile& stored, quint64 generation)
{
    m_unstored.removeIf(
        [generation](const std::pair<ProfileChange, quint64>& change) { return change.second <= generation; });
    Profile profile = withUsableHomeBase(stored);
    for (const auto& [change, made] : m_unstored)
        change.applyTo(profile);
    use(profile);
}

std::optional<QString> Preferences::homeBaseNotice() const
{
    if (!m_rejectedHomeBase)
        return std::nullopt;
    const QString shown = m_rejectedHomeBase->isEmpty() ? tr("an empty setting") : *m_rejectedHomeBase;
    return tr("Your home base was reset to %1: %2 is not a folder inside your home folder.")
        .arg(m_profile.homeBase, shown);
}

void Preferences::homeBaseNoticeShown()
{
    if (!m_rejectedHomeBase)
        return;
    Profile stored = m_profile;
    stored.homeBase = *std::exchange(m_rejectedHomeBase, std::nullopt);
    const ProfileChange change = ProfileChange::between(stored, m_profile);
    m_unstored.append({change, ++m_generation});
    m_writer.changeProfile(change, m_generation);
}

void Preferences::recordRun()
{
    Profile updated = m_profile;
    updated.lastRun = m_clock.now();
    setProfile(updated);
}

void Preferences::restoreLastRun(const std::optional<QDateTime>& lastRun)
{
    Profile updated = m_profile;
    updated.lastRun = lastRun;
    setProfile(updated);
}

void Preferences::addProjects(const QList<Project>& projects)
{
    Profile updated = m_profile;
    updated.projects += projects;
    setProfile(updated);
}

QString Preferences::apiKey() const
{
    return m_apiKey;
}

void Preferences::saveKey(const QString& key)
{
    m_apiKey = key.trimmed();
    m_writer.saveKey(m_apiKey);
    Q_EMIT apiKeyChanged();
}

QString Preferences::serverKey() const
{
    return m_serverKey;
}

void Preferences::saveServerKey(const QString& key)
{
    m_serverKey = key.trimmed();
    m_writer.saveServerKey(m_serverKey);
    Q_EMIT apiKeyChanged();
}

QString Preferences::keyInUse() const
{
    if (m_profile.sortWith == SortWith::noModel)
        return QString();
    return m_profile.sortWith == SortWith::ownServer ? m_serverKey : m_apiKey;
}

bool Preferences::readyToSort() const
{
    if (m_profile.sortWith == SortWith::noModel)
        return true;
    if (m_profile.sortWith == SortWith::ownServer)
        return !m_profile.server.address.isEmpty() && !m_profile.server.sortingModel.isEmpty();
    return !m_apiKey.isEmpty();
}

bool Preferences::sundayReminderOn() const
{
    return Notifier::reminderOn();
}

void Preferences::setSundayReminderOn(bool on)
{
    Notifier::setReminderOn(on);
    if (m_profile.onboarded)
        setUpNotifications();
}

void Preferences::testConnection(const QString& typedKey)
{
    const QString key = typedKey.trimmed();
    const QString model = m_profile.model;
    const Clock* clock = &m_clock;
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

void Preferences::testServer(const ModelServer& server, const QString& typedKey)
{
    const QString key = typedKey.trimmed();
    const Clock* clock = &m_clock;
    auto* watcher = new QFutureWatcher<ServerCheck::Result>(this);
    connect(watcher, &QFutureWatcher<ServerCheck::Result>::finished, this, [this, watcher] {
        const ServerCheck::Result result = watcher->result();
        watcher->deleteLater();
        const int images = result.acceptsImages ? int(*result.acceptsImages) : -1;
        QString text = result.failure.value_or(tr("Connected."));
        if (!result.failure && images == 0)
            text = tr("Connected. This model doesn't take images, so pictures are described to it in words.");
        Q_EMIT serverTested(!result.failure, text, result.models, images);
    });
    watcher->setFuture(QtConcurrent::run([server, key, clock] { return ServerCheck::run(server, key, clock); }));
}

QString Preferences::lastRunText() const
{
    if (!m_profile.lastRun)
        return tr("Ready for a fresh start");
    return tr("Last refresh %1").arg(RelativeTime::format(*m_profile.lastRun, m_clock.now()));
}
