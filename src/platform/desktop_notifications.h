#pragma once

#include "notification_service.h"

#include <functional>

// The one place that chooses how notices reach the person: the desktop's notification service
// over the session bus on Linux.
namespace DesktopNotifications {

// What becomes of a notice that finds no notification service.
struct WhenMissing
{
    // Shows it another way (the tray program's balloon), with the same arguments.
    std::function<void(const QString& identifier, const QString& title, const QString& body)> fallback;
    // Called once, the first time, for programs that can only say so (the command line).
    std::function<void()> unavailable;
};

NotificationService* create(QObject* parent, WhenMissing whenMissing = {});

} // namespace DesktopNotifications
