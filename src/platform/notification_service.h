#pragma once

#include <QObject>
#include <QString>

// Where notifications are shown. The desktop's own service on Linux; the tray program can put a
// fallback behind it for desktops without one.
class NotificationService : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // Shows a notification; a second one under the same identifier replaces the first.
    virtual void post(const QString& identifier, const QString& title, const QString& body) = 0;
    // Withdraws the notification of an identifier, when it is still shown.
    virtual void withdraw(const QString& identifier) = 0;

Q_SIGNALS:
    // The person clicked the notification of this identifier.
    void clicked(const QString& identifier);
};
