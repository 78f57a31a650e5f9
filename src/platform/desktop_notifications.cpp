#include "desktop_notifications.h"

#include "dbus_notifications.h"

namespace DesktopNotifications {

NotificationService* create(QObject* parent, WhenMissing whenMissing)
{
    auto* service = new DBusNotifications(parent);
    service->fallback = std::move(whenMissing.fallback);
    service->unavailable = std::move(whenMissing.unavailable);
    return service;
}

} // namespace DesktopNotifications
