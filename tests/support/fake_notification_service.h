#pragma once

#include <QDBusConnection>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

// A desktop notification service of the tests' own, on the session bus under the standard name,
// on a connection of its own so that the program under test talks to it as to any other.
class FakeNotificationService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Shown
    {
        uint id;
        uint replaces;
        QString summary;
        QString body;
        QStringList actions;
    };

    FakeNotificationService();
    ~FakeNotificationService() override;
    bool registered() const;

    QList<Shown> shown;
    QList<uint> closed;

    // The person clicks a notification.
    void click(uint id);

public Q_SLOTS:
    uint Notify(const QString& app,
                uint replaces,
                const QString& icon,
                const QString& summary,
                const QString& body,
                const QStringList& actions,
                const QVariantMap& hints,
                int timeout);
    void CloseNotification(uint id);
    QStringList GetCapabilities();

Q_SIGNALS:
    void ActionInvoked(uint id, const QString& action);
    void NotificationClosed(uint id, uint reason);

private:
    QDBusConnection m_bus;
    bool m_registered = false;
    uint m_next = 1;
};
