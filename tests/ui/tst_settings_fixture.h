#pragma once

// What the onboarding and settings tests share: a person's temporary home, the fake Claude
// service, a test clock and the controller with a notification service that only records.
#include "controller/app_state.h"
#include "model/store.h"
#include "platform/autostart.h"
#include "schedule/notification_service.h"
#include "schedule/notifier.h"
#include "support/controller_fixture.h"
#include "support/widget_driver.h"

#include <QSettings>

#include <memory>

namespace SettingsTest {

using namespace Qt::Literals::StringLiterals;

class RecordingNotifications : public NotificationService
{
public:
    using NotificationService::NotificationService;
    void post(const QString& identifier, const QString&, const QString&) override
    {
        posted.append(identifier);
    }
    void withdraw(const QString&) override
    { }
    QStringList posted;
};

using namespace WidgetDriver;

class Fixture : public ControllerFixture
{
public:
    RecordingNotifications* notifications = nullptr;
    std::unique_ptr<AppState> state;

    // A first-time person (no key, not set up) or one who finished set-up long ago.
    explicit Fixture(bool onboarded, const QList<Project>& projects = {})
        : ControllerFixture(Person {.onboarded = onboarded, .projects = projects, .key = u"sk-stored-secret"_s})
    {
        const FakeClaudeServer::Handler sorting = FakeClaudeServer::sorting(
            [](qint64) { return FakeClaudeServer::decision(u"personal"_s, u"Letters"_s, u"a letter"_s); });
        // Only one key passes the connection check.
        server.setHandler([sorting](const FakeClaudeServer::Request& request) {
            if (request.isConnectionCheck() && request.headers.value("x-api-key") != "sk-good")
                return FakeClaudeServer::Response {
                    401, R"({"type":"error","error":{"type":"authentication_error","message":"invalid x-api-key"}})"};
            return sorting(request);
        });
        state = create();
        notifications = new RecordingNotifications(state.get());
        state->setNotifier(new Notifier(notifications, &clock, state.get()));
        state->init();
    }

    QString autostartPath() const
    {
        return home.path() + u"/.config/autostart/brindlow.desktop"_s;
    }

    // The login entry inside this home, for a program installed where the shell must quote it.
    Autostart autostart() const
    {
        return Autostart(autostartPath(), u"/opt/Brindlow Apps/brindlow"_s);
    }

    static std::optional<bool> storedReminder()
    {
        const QVariant value = QSettings(u"Brindlow"_s, u"Brindlow"_s).value(u"sundayReminderOn"_s);
        return value.isValid() ? std::optional(value.toBool()) : std::nullopt;
    }
};

} // namespace SettingsTest
