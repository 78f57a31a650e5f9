#include "dbus_notifications.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString kService = u"org.freedesktop.Notifications"_s;
const QString kPath = u"/org/freedesktop/Notifications"_s;
} // namespace

DBusNotifications::DBusNotifications(QObject* parent)
    : NotificationService(parent)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(kService, kPath, kService, u"ActionInvoked"_s, this, SLOT(onActionInvoked(uint, QString)));
    bus.connect(kService, kPath, kService, u"NotificationClosed"_s, this, SLOT(onClosed(uint, uint)));
}

void DBusNotifications::post(const QString& identifier, const QString& title, const QString& body)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kService, u"Notify"_s);
    const QVariantMap hints {{u"desktop-entry"_s, u"brindlow"_s}};
    call << u"Brindlow"_s << m_shown.value(identifier, 0u) << u"brindlow"_s << title << body
         << QStringList {u"default"_s, u"Open"_s} << hints << qint32(-1);
    // Asynchronous, so that a slow or missing service never holds up the program.
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    const quint64 serial = ++m_posts;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, serial, identifier, title, body] {
        const QDBusPendingReply<uint> reply = *watcher;
        watcher->deleteLater();
        const bool withdrawn = m_withdrawnUpTo.value(identifier, 0) >= serial;
        if (reply.isError()) {
            if (unavailable && !std::exchange(m_saidUnavailable, true))
                unavailable();
            if (fallback && !withdrawn)
                fallback(identifier, title, body);
        } else if (withdrawn) {
            close(reply.value());
        } else {
            m_shown.insert(identifier, reply.value());
        }
    });
}

void DBusNotifications::withdraw(const QString& identifier)
{
    m_withdrawnUpTo.insert(identifier, m_posts);
    if (const uint id = m_shown.take(identifier))
        close(id);
}

void DBusNotifications::close(uint id)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kService, u"CloseNotification"_s);
    call << id;
    QDBusConnection::sessionBus().asyncCall(call);
}

void DBusNotifications::onActionInvoked(uint id, const QString& action)
{
    if (action != u"default")
        return;
    const QString identifier = m_shown.key(id);
    if (!identifier.isEmpty())
        Q_EMIT clicked(identifier);
}

void DBusNotifications::onClosed(uint id, uint)
{
    const QString identifier = m_shown.key(id);
    if (!identifier.isEmpty())
        m_shown.remove(identifier);
}
