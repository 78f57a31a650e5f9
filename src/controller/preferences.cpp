#include "preferences.h"

#include "common/relative_time.h"
#include "model/store.h"
#include "platform/clock.h"
#include "refresh_pipeline.h"
#include "schedule/notifier.h"
#include "store_writer.h"

#include <QDir>
#include <QFutureWatcher>
#include <QtConcurrent>

Preferences::Preferences(StoreWriter& writer, const Clock& clock)
    : m_writer(writer)
    , m_clock(clock)
    , m_profile(Profile::defaults())
{ }

void Preferences::load(Notifier* notifier)
{
    m_notifier = notifier;
    m_profile = Store::loadProfile();
    m_apiKey = Store::loadKey().value_or(QString());
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
    Profile profile = changed;
    if (!Profile::isUsableHomeBase(profile.homeBase, QDir::homePath()))
        profile.homeBase = Profile::defaults(QDir::homePath()).homeBase;
    const bool reminderRuleChanged = profile.autoTidy != m_profile.autoTidy || profile.onboarded != m_profile.onboarded;
    m_profile = profile;
    m_writer.saveProfile(m_profile);
    Q_EMIT profileChanged();
    if (reminderRuleChanged && m_profile.onboarded)
        setUpNotifications();
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

QString Preferences::lastRunText() const
{
    if (!m_profile.lastRun)
        return tr("Ready for a fresh start");
    return tr("Last refresh %1").arg(RelativeTime::format(*m_profile.lastRun, m_clock.now()));
}
