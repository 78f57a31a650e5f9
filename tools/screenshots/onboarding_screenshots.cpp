// Renders the onboarding steps and the settings window in a throw-away home with the fake
// service, to PNG files for the README and for checking the look by eye. Not a test:
// `make screenshots`.
#include "controller/app_state.h"
#include "model/store.h"
#include "screenshots.h"
#include "support/fake_claude_server.h"
#include "support/temp_home.h"
#include "support/test_clock.h"
#include "ui/onboarding/onboarding_window.h"
#include "ui/onboarding/preferences_step.h"
#include "ui/settings/folder_choices.h"
#include "ui/settings/settings_window.h"
#include "ui/settings/usage_summary.h"
#include "ui/theme/theme.h"
#include "ui/theme/window_fit.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

using namespace Qt::Literals::StringLiterals;

namespace {

// Drawn as a 1280 x 720 laptop with a desktop panel would show it: a window taller than that
// scrolls, which the picture shows.
bool save(QWidget& window, const QString& folder, const QString& name)
{
    // The window refits itself to this machine's screen as its content settles; the picture's
    // screen is placed last.
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
    WindowFit::fitToContent(&window, QRect(0, 28, 1280, 692));
    // The scroll bars follow the new size once its layouts have run.
    QCoreApplication::processEvents();
    return window.grab().save(folder + u'/' + name + u".png"_s);
}

template <typename T = QAbstractButton>
T* control(const QWidget& root, const QString& name)
{
    for (T* widget : root.findChildren<T*>()) {
        if (widget->accessibleName() == name && widget->isVisibleTo(&root))
            return widget;
    }
    qFatal("no control %s", qPrintable(name));
}

void waitFor(auto* sender, auto signal)
{
    QSignalSpy spy(sender, signal);
    spy.wait(5000);
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    const QString folder = Screenshots::prepare(app, argc, argv);
    TempHome home;
    FakeClaudeServer server;
    server.setHandler([](const FakeClaudeServer::Request&) { return FakeClaudeServer::reply(u"OK"_s, 10, 1); });
    const Autostart autostart(home.path() + u"/.config/autostart/brindlow.desktop"_s, u"/usr/bin/brindlow"_s);
    Store::saveProfile(Profile::defaults(home.path()));
    bool ok = true;
    {
        AppState state;
        state.init();
        OnboardingWindow onboarding(state.parts(), autostart);
        onboarding.show();
        QTest::keyClicks(control<QLineEdit>(onboarding, u"Claude API key"_s), u"sk-ant-sample-key"_s);
        control(onboarding, u"Test connection"_s)->click();
        waitFor(&state.preferences(), &Preferences::connectionTested);
        ok &= save(onboarding, folder, u"onboarding-connect"_s);
        control(onboarding, u"A server of your own"_s)->click();
        QTest::keyClicks(control<QLineEdit>(onboarding, u"Server address"_s), u"http://localhost:11434"_s);
        QTest::keyClicks(control<QLineEdit>(onboarding, u"Model for sorting"_s), u"qwen3:8b"_s);
        control(onboarding, u"Test connection"_s)->click();
        waitFor(&state.preferences(), &Preferences::serverTested);
        ok &= save(onboarding, folder, u"onboarding-server"_s);
        control(onboarding, u"Claude"_s)->click();
        onboarding.next();
        FolderChoices* folders = onboarding.preferencesStep()->folders();
        if (!folders->isLoaded())
            waitFor(folders, &FolderChoices::loaded);
        ok &= save(onboarding, folder, u"onboarding-preferences"_s);
    }

    Profile profile = Profile::defaults(home.path());
    profile.onboarded = true;
    Store::saveProfile(profile);
    home.writeFile(u".local/share/Brindlow/usage.json"_s, R"({"totalUSD": 1.84,
        "months": {"2026-03": {"usd": 0.41, "files": 318}},
        "runs": [{"date": "2026-03-02T09:00:00Z", "usd": 0.12, "files": 96, "calls": 9}]})");
    const TestClock clock(QDateTime(QDate(2026, 3, 10), QTime(10, 0)));
    for (const int shown : {0, 1, 2}) {
        const bool withProjects = shown == 1;
        if (shown == 2) {
            profile.sortWith = SortWith::ownServer;
            profile.server.address = u"http://localhost:11434"_s;
            profile.server.sortingModel = u"qwen3:8b"_s;
            profile.server.acceptsImages = false;
            Store::saveProfile(profile);
        } else if (withProjects) {
            profile.projects = {{QUuid::createUuid(), u"Quorrel"_s, u"quorrelcards, Quorrel launch"_s},
                                {QUuid::createUuid(), u"Harbor Fest"_s, u"harbor, HF 2026"_s},
                                {QUuid::createUuid(), u"Acme/Spring Ads"_s, QString()}};
            Store::saveProfile(profile);
        }
        AppState state(&clock);
        state.init();
        SettingsWindow settings(state.parts(), &clock, autostart);
        auto* summary = settings.findChild<UsageSummary*>();
        QSignalSpy read(summary, &UsageSummary::updated);
        settings.show();
        read.wait(5000);
        QThreadPool::globalInstance()->waitForDone();
        const QString names[] = {u"settings"_s, u"settings-projects"_s, u"settings-server"_s};
        ok &= save(settings, folder, names[shown]);
    }
    return ok ? 0 : 1;
}
