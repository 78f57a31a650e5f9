#include "fake_notification_service.h"

using namespace Qt::Literals::StringLiterals;

FakeNotificationService::FakeNotificationService()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"fake-notifications"_s))
{
    m_registered = m_bus.isConnected() && m_bus.registerService(u"org.freedesktop.Notifications"_s)
        && m_bus.registerObject(u"/org/freedesktop/Notifications"_s,
                                this,
                                QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
}

FakeNotificationService::~FakeNotificationService()
{
    m_bus.unregisterObject(u"/org/freedesktop/Notifications"_s);
    m_bus.unregisterService(u"org.freedesktop.Notifications"_s);
    QDBusConnection::disconnectFromBus(u"fake-notifications"_s);
}

bool FakeNotificationService::registered() const
{
    return m_registered;
}

void FakeNotificationService::click(uint id)
{
    Q_EMIT ActionInvoked(id, u"default"_s);
}

uint FakeNotificationService::Notify(const QString&,
                                     uint replaces,
                                     const QString&,
                                     const QString& summary,
                                     const QString& body,
                                     const QStringList& actions,
                                     const QVariantMap&,
                                     int)
{
    const uint id = replaces != 0 ? replaces : m_next++;
    shown.append({id, replaces, summary, body, actions});
    return id;
}

void FakeNotificationService::CloseNotification(uint id)
{
    closed.append(id);
}

QStringList FakeNotificationService::GetCapabilities()
{
    return {u"actions"_s, u"body"_s};
}
