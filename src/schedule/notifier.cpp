#include "notifier.h"

#include "common/numbers.h"
#include "platform/clock.h"
#include "platform/notification_service.h"

#include <QSettings>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kReminder = u"sunday-reminder"_s;
const QString kPlanReady = u"plan-ready"_s;
const QString kReminderOnKey = u"sundayReminderOn"_s;
const QString kLastReminderKey = u"lastSundayReminder"_s;

QSettings settings()
{
    return QSettings(u"Brindlow"_s, u"Brindlow"_s);
}

} // namespace

Notifier::Notifier(NotificationService* service, const Clock* clock, QObject* parent)
    : QObject(parent)
    , m_service(service)
    , m_clock(clock ? clock : &SystemClock::instance())
{
    if (m_service)
        connect(m_service, &NotificationService::clicked, this, &Notifier::clicked);
}

bool Notifier::reminderOn()
{
    const QVariant value = settings().value(kReminderOnKey);
    // Anything but a stored boolean (absent, or a hand-edited word) counts as on.
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    const QString text = value.toString();
    return text != u"false";
}

void Notifier::setReminderOn(bool on)
{
    QSettings store = settings();
    store.setValue(kReminderOnKey, on);
    store.sync();
}

void Notifier::setUp(bool sundayReset)
{
    m_scheduled = reminderOn() && !sundayReset;
    if (!m_scheduled && m_service)
        m_service->withdraw(kReminder);
}

bool Notifier::reminderScheduled() const
{
    return m_scheduled;
}

void Notifier::checkReminder()
{
    if (!m_scheduled || !m_service)
        return;
    const QDateTime now = m_clock->now().toLocalTime();
    if (!isWeeklyHour(now))
        return;
    QSettings store = settings();
    if (store.value(kLastReminderKey).toDate() == now.date())
        return;
    store.setValue(kLastReminderKey, now.date());
    store.sync();
    m_service->post(kReminder, u"Brindlow"_s, u"Don't forget to start the week fresh."_s);
}

bool Notifier::isWeeklyHour(const QDateTime& local)
{
    return local.date().dayOfWeek() == Qt::Sunday && local.time().hour() >= 9;
}

QString Notifier::planReadyBody(int changes)
{
    return Numbers::count(changes) + u" changes are waiting. Nothing moves until you say so."_s;
}

void Notifier::setAnnouncesPlans(bool announce)
{
    m_announcesPlans = announce;
}

void Notifier::planReady(int changes)
{
    if (m_service && m_announcesPlans)
        m_service->post(kPlanReady, u"Your fresh start is ready"_s, planReadyBody(changes));
}

void Notifier::planGone()
{
    if (m_service)
        m_service->withdraw(kPlanReady);
}
