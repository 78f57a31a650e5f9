#pragma once

#include "notification_service.h"

#include <QHash>

#include <functional>

// Freedesktop notifications over the session bus (org.freedesktop.Notifications), with the
// click handed back through the "default" action.
class DBusNotifications : public NotificationService
{
    Q_OBJECT

public:
    explicit DBusNotifications(QObject* parent = nullptr);

    void post(const QString& identifier, const QString& title, const QString& body) override;
    void withdraw(const QString& identifier) override;

    // Called, with the same arguments, when no notification service answers: the tray program
    // shows the notice another way (a balloon from its icon).
    std::function<void(const QString& identifier, const QString& title, const QString& body)> fallback;
    // Called once, the first time a notice finds no service, for programs that can only say so
    // (the command line).
    std::function<void()> unavailable;

private Q_SLOTS:
    void onActionInvoked(uint id, const QString& action);
    void onClosed(uint id, uint reason);

private:
    void close(uint id);

    QHash<QString, uint> m_shown; // identifier -> the service's id
    // The service answers a post later: a notice withdrawn before its answer came is closed then.
    quint64 m_posts = 0;
    QHash<QString, quint64> m_withdrawnUpTo; // identifier -> the last post withdrawn
    bool m_saidUnavailable = false;
};
