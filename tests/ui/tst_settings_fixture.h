#pragma once

// What the onboarding and settings tests share: a person's temporary home, the fake Claude
// service, a test clock, the controller with a notification service that only records, and the
// ways a person finds and works the controls.
#include "controller/app_state.h"
#include "model/store.h"
#include "schedule/notification_service.h"
#include "schedule/notifier.h"
#include "support/fake_claude_server.h"
#include "support/temp_home.h"
#include "support/test_clock.h"

#include <QAbstractButton>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QSettings>
#include <QTest>

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

// Every text a person can see in `root` right now.
inline QStringList shownTexts(const QWidget& root)
{
    QStringList texts;
    for (const QLabel* label : root.findChildren<QLabel*>()) {
        if (label->isVisibleTo(&root) && !label->text().isEmpty())
            texts.append(label->text());
    }
    for (const QAbstractButton* button : root.findChildren<QAbstractButton*>()) {
        if (button->isVisibleTo(&root) && !button->text().isEmpty())
            texts.append(button->text());
    }
    return texts;
}

// A visible control by its accessible name, as a screen reader finds it.
template <typename T = QAbstractButton>
T* control(const QWidget& root, const QString& name)
{
    for (T* widget : root.findChildren<T*>()) {
        if (widget->accessibleName() == name && widget->isVisibleTo(&root))
            return widget;
    }
    return nullptr;
}

inline void click(QAbstractButton* button)
{
    QVERIFY2(button, "no such control");
    QVERIFY2(button->isEnabled(), qPrintable(button->accessibleName() + u" is disabled"_s));
    QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
}

inline void type(QLineEdit* field, const QString& text)
{
    QVERIFY2(field, "no such field");
    field->setFocus();
    QTest::keyClicks(field, text);
}

inline QString label(const QWidget& root, const QString& accessibleName)
{
    const QLabel* found = control<QLabel>(root, accessibleName);
    return found ? found->text() : u"(none)"_s;
}

class Fixture
{
public:
    TempHome home;
    FakeClaudeServer server;
    TestClock clock {QDateTime(QDate(2026, 3, 4), QTime(10, 0), Qt::LocalTime)};
    RecordingNotifications* notifications = nullptr;
    std::unique_ptr<AppState> state;

    // A first-time person (no key, not set up) or one who finished set-up long ago.
    explicit Fixture(bool onboarded, const QList<Project>& projects = {})
    {
        Profile profile = Profile::defaults(home.path());
        profile.onboarded = onboarded;
        profile.projects = projects;
        Store::saveProfile(profile);
        if (onboarded)
            Store::saveKey(u"sk-stored-secret"_s);
        server.setHandler([](const FakeClaudeServer::Request& request) {
            if (request.json().value("system"_L1).toString() == u"Reply with OK.") {
                if (request.headers.value("x-api-key") == "sk-good")
                    return FakeClaudeServer::reply(u"OK"_s, 10, 1);
                return FakeClaudeServer::Response {
                    401, R"({"type":"error","error":{"type":"authentication_error","message":"invalid x-api-key"}})"};
            }
            return FakeClaudeServer::sortingReply(request, [](qint64) {
                return QJsonObject {{"category"_L1, u"personal"_s},
                                    {"sub"_L1, u"Letters"_s},
                                    {"confidence"_L1, u"high"_s},
                                    {"reason"_L1, u"a letter"_s}};
            });
        });
        state = std::make_unique<AppState>(&clock);
        notifications = new RecordingNotifications(state.get());
        state->setNotifier(new Notifier(notifications, &clock, state.get()));
        state->init();
    }

    QString autostartPath() const
    {
        return home.path() + u"/.config/autostart/brindlow.desktop"_s;
    }

    static std::optional<bool> storedReminder()
    {
        const QVariant value = QSettings(u"Brindlow"_s, u"Brindlow"_s).value(u"sundayReminderOn"_s);
        return value.isValid() ? std::optional(value.toBool()) : std::nullopt;
    }
};

} // namespace SettingsTest
