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

    // Called, with the same arguments, when no notification service answers.
    std::function<void(const QString& identifier, const QString& title, const QString& body)> fallback;

private Q_SLOTS:
    void onActionInvoked(uint id, const QString& action);
    void onClosed(uint id, uint reason);

private:
    QHash<QString, uint> m_shown; // identifier -> the service's id
};
