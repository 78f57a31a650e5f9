#include "model/store.h"
#include "platform/autostart.h"
#include "platform/notification_service.h"
#include "schedule/notifier.h"
#include "support/controller_fixture.h"
#include "support/tmpfs_mount.h"
#include "support/widget_driver.h"
#include "ui/onboarding/onboarding_window.h"
#include "ui/onboarding/preferences_step.h"
#include "ui/settings/folder_choices.h"
#include "ui/settings/settings_window.h"
#include "ui/settings/start_at_login_row.h"
#include "ui/settings/usage_summary.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QSettings>
#include <QSignalSpy>
#include <QThreadPool>

using namespace Qt::Literals::StringLiterals;

namespace {

using namespace WidgetDriver;

// The desktop's notifications, with nothing shown: these tests only ask what is scheduled.
class SilentNotifications : public NotificationService
{
public:
    using NotificationService::NotificationService;
    void post(const QString&, const QString&, const QString&) override
    { }
    void withdraw(const QString&) override
    { }
};

class Fixture : public ControllerFixture
{
public:
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
        state->setNotifier(new Notifier(new SilentNotifications(state.get()), &clock, state.get()));
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

// The connection test's answer; a screen reader hears the same words the person reads.
QString result(const QWidget& window)
{
    const auto* line = window.findChild<QLabel*>(u"connectionResult"_s);
    if (!line || !line->isVisibleTo(&window))
        return u"(not shown)"_s;
    return line->accessibleName() == line->text() ? line->text() : u"(name differs: %1)"_s.arg(line->accessibleName());
}

// The window as the panel's "Get started" opens it, its autostart entry inside the test's home.
std::unique_ptr<OnboardingWindow> openOnboarding(Fixture& f)
{
    auto window = std::make_unique<OnboardingWindow>(f.state->parts(), f.autostart());
    window->show();
    return window;
}

// The person pastes a key and continues to the preferences, whose folder switches are there.
void toPreferences(OnboardingWindow& window, const QString& key = u"sk-good"_s)
{
    type(control<QLineEdit>(window, u"Claude API key"_s), key);
    click(control(window, u"Continue"_s));
    QCOMPARE(window.step(), 1);
    FolderChoices* folders = window.preferencesStep()->folders();
    if (!folders->isLoaded()) {
        QSignalSpy loaded(folders, &FolderChoices::loaded);
        QVERIFY(loaded.wait(5000));
    }
}

std::unique_ptr<SettingsWindow> openWindow(Fixture& f)
{
    auto window = std::make_unique<SettingsWindow>(f.state->parts(), &f.clock, f.autostart());
    QSignalSpy read(window->findChild<UsageSummary*>(), &UsageSummary::updated);
    window->show();
    [&] { QVERIFY(read.wait(5000)); }();
    return window;
}

// The start-at-login switch, once the row has read what is on disk.
QAbstractButton* settledLoginSwitch(SettingsWindow& window)
{
    QSignalSpy settled(window.findChild<StartAtLoginRow*>(), &StartAtLoginRow::settled);
    QAbstractButton* toggle = control(window, u"Start Brindlow when you log in"_s);
    if (!toggle->isEnabled())
        settled.wait(5000);
    return toggle;
}

// Reads the usage history again, as showing the window does, and waits for it.
void reread(SettingsWindow& window)
{
    auto* summary = window.findChild<UsageSummary*>();
    QSignalSpy read(summary, &UsageSummary::updated);
    summary->reload();
    QVERIFY(read.wait(5000));
}

} // namespace

// Set-up and settings, as a person goes through them: a temporary home, the fake Claude service,
// a test clock and the controller with a notification service that shows nothing.
class TestSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        Theme::apply(*qApp);
    }

    // Step 0: no going on without a key; a test in the background says what the service said,
    // and a failed one does not hold the person back.
    void connectStep()
    {
        Fixture f(false);
        auto window = openOnboarding(f);
        QVERIFY(!control(*window, u"Continue"_s)->isEnabled());
        QVERIFY(!control(*window, u"Test connection"_s)->isEnabled());

        QLineEdit* key = control<QLineEdit>(*window, u"Claude API key"_s);
        type(key, u"sk-wrong"_s);
        QCOMPARE(key->echoMode(), QLineEdit::Password);
        QVERIFY(control(*window, u"Continue"_s)->isEnabled());

        QSignalSpy tested(&f.state.get()->preferences(), &Preferences::connectionTested);
        click(control(*window, u"Test connection"_s));
        // While the request is out the window answers and says so.
        QAbstractButton* testing = control(*window, u"Testing…"_s);
        QVERIFY(testing && !testing->isEnabled());
        QVERIFY(tested.wait(10000));
        QCOMPARE(result(*window), u"Brindlow couldn't sign in to Claude (error 401). Nothing was moved."_s);
        QVERIFY(control(*window, u"Test connection"_s)->isEnabled());
        QVERIFY(!shownTexts(*window).contains(u"sk-wrong"_s));

        const auto retest = [&](const QString& text) {
            key->clear();
            type(key, text);
            click(control(*window, u"Test connection"_s));
            return tested.wait(10000) ? result(*window) : u"(no answer)"_s;
        };
        QCOMPARE(retest(u"sk-good"_s), u"Connected."_s);
        QCOMPARE(f.server.requests().last().headers.value("x-api-key"), QByteArray("sk-good"));

        // A failed test still lets the person go on: the network may be what failed.
        QVERIFY(retest(u"sk-wrong"_s).startsWith(u"Brindlow couldn't sign in to Claude"_s));
        click(control(*window, u"Continue"_s));
        QTRY_COMPARE(Store::loadKey(), std::optional(u"sk-wrong"_s));
        QVERIFY(!control<QLineEdit>(*window, u"Claude API key"_s));
        QVERIFY(control(*window, u"Start my first refresh"_s));
    }

    // A server of one's own: no going on until its address is usable and a model is named; the
    // test lists its models and learns it takes no images; Settings stores it only when asked to.
    void serverOfOnesOwn()
    {
        Fixture f(false);
        FakeClaudeServer::LocalMode local;
        local.refuseImages = true;
        f.server.setLocalMode(local);
        f.server.setHandler([](const FakeClaudeServer::Request&) { return FakeClaudeServer::reply(u"OK"_s); });
        auto window = openOnboarding(f);
        click(control(*window, u"A server of your own"_s));
        QVERIFY(!control<QLineEdit>(*window, u"Claude API key"_s));
        QLineEdit* address = control<QLineEdit>(*window, u"Server address"_s);
        type(address, u"http://llm.example.com"_s);
        type(control<QLineEdit>(*window, u"Model for sorting"_s), u"local-sorter"_s);
        QVERIFY(!control(*window, u"Continue"_s)->isEnabled());
        address->clear();
        type(address, f.server.url().toString());
        QVERIFY(control(*window, u"Continue"_s)->isEnabled());

        QSignalSpy tested(&f.state->preferences(), &Preferences::serverTested);
        click(control(*window, u"Test connection"_s));
        QVERIFY(tested.wait(10000));
        const QString said = shownTexts(*window).join(u'\n');
        QVERIFY2(said.contains(u"doesn't take images"_s) && said.contains(u"local-sorter"_s), qPrintable(said));
        click(control(*window, u"Continue"_s));
        f.state->review().flushEdits();
        const Profile stored = Store::loadProfile();
        QCOMPARE(stored.sortWith, SortWith::ownServer);
        QCOMPARE(stored.server.address, f.server.url().toString());
        QCOMPARE(stored.server.acceptsImages, false);

        // Someone set up long ago with Claude, in a home of their own.
        Fixture later(true);
        later.server.setLocalMode(local);
        auto settings = openWindow(later);
        click(control(*settings, u"A server of your own"_s));
        settle();
        QCOMPARE(Store::loadProfile().sortWith, SortWith::claude); // nothing usable to store yet
        type(control<QLineEdit>(*settings, u"Server address"_s), u"http://localhost:11434"_s);
        type(control<QLineEdit>(*settings, u"Model for sorting"_s), u"local-sorter"_s);
        type(control<QLineEdit>(*settings, u"Server key (optional)"_s), u"server-secret"_s);
        click(control(*settings, u"Use this server"_s));
        QTRY_COMPARE(Store::loadProfile().sortWith, SortWith::ownServer);
        QTRY_COMPARE(Store::loadKey(Store::KeyFor::server), std::optional(u"server-secret"_s));
        QCOMPARE(Store::loadKey(), std::optional(u"sk-stored-secret"_s));
        click(control(*settings, u"Claude"_s));
        QTRY_COMPARE(Store::loadProfile().sortWith, SortWith::claude);
        QCOMPARE(Store::loadProfile().server.address, u"http://localhost:11434"_s);
    }

    // Step 1 writes every choice through; folders are the person's own, stored relative to home.
    void preferencesStep()
    {
        Fixture f(false);
        // A desktop in French keeps downloads in its own folder.
        f.home.writeFile(u".config/user-dirs.dirs"_s, "XDG_DOWNLOAD_DIR=\"$HOME/Téléchargements\"\n");
        f.home.writeFile(u"Téléchargements/facture.pdf"_s, "%PDF");
        auto window = openOnboarding(f);
        toPreferences(*window);
        QVERIFY(shownTexts(*window).contains(u"~/Téléchargements"_s));
        QVERIFY(control(*window, u"Desktop"_s)->isChecked());
        QVERIFY(!control(*window, u"Downloads"_s)->isChecked());
        QVERIFY(control(*window, u"Documents"_s)->isChecked());

        click(control(*window, u"Documents"_s));
        QTRY_COMPARE(Store::loadProfile().scanFolders, (QStringList {u"Desktop"_s, u"Downloads"_s}));
        click(control(*window, u"Downloads"_s));
        click(control(*window, u"Documents"_s));
        QTRY_COMPARE(Store::loadProfile().scanFolders,
                     (QStringList {u"Desktop"_s, u"Downloads"_s, u"Téléchargements"_s, u"Documents"_s}));
        QVERIFY(control(*window, u"Documents"_s)->isChecked());

        click(control(*window, u"Keep app installers"_s));
        click(control(*window, u"Rename unclear files by what's in them"_s));
        click(control(*window, u"Careful"_s));
        f.state->review().flushEdits();
        const Profile stored = Store::loadProfile();
        QVERIFY(stored.keepInstallers);
        QVERIFY(!stored.renameFiles);
        QCOMPARE(stored.model, u"claude-sonnet-5-5"_s);
        QVERIFY(!stored.onboarded);
        click(control(*window, u"Fast"_s));
        QTRY_COMPARE(Store::loadProfile().model, u"claude-haiku-5-5"_s);
    }

    // "Start my first refresh" with Sunday Reset off and no reminder preference: set-up is done,
    // the reminder is scheduled, the window goes, a deep refresh runs and Brindlow starts at login.
    void startFirstRefresh()
    {
        Fixture f(false, {Project {QUuid::createUuid(), u"Quorrel"_s, QString()}});
        f.home.writeFile(u"Documents/Quorrel/card art notes.txt"_s, "dragon card art for Quorrel");
        // Enough files for projects to be worth learning.
        for (int i = 0; i < 24; ++i)
            f.home.writeFile(u"Downloads/letter %1.txt"_s.arg(i), "Dear bank");
        QVERIFY(!Fixture::storedReminder());
        QVERIFY(!f.state->notifier()->reminderScheduled());
        auto window = openOnboarding(f);
        toPreferences(*window);
        QVERIFY(!control(*window, u"Sunday Reset"_s)->isChecked());

        QSignalSpy finished(&f.state.get()->refresh(), &RefreshRun::finished);
        click(control(*window, u"Start my first refresh"_s));
        QCOMPARE(f.state->activity().phase(), Phase::scanning);
        QVERIFY(f.state->notifier()->reminderScheduled());
        f.state->review().flushEdits();
        QVERIFY(Store::loadProfile().onboarded);
        QVERIFY(!window->isVisible());
        QVERIFY(finished.wait(20000));
        // Only a deep refresh learns projects again when some are known already.
        bool learned = false;
        for (const FakeClaudeServer::Request& request : f.server.requests())
            learned |= request.json().value("model"_L1).toString() == u"claude-opus-5-5";
        QVERIFY(learned);

        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(QFile::exists(f.autostartPath()));
    }

    // A newcomer without an account: no key, straight to a plan with nothing sent anywhere; the
    // choice shows in Settings and can be switched back.
    void sortWithoutAModel()
    {
        Fixture f(false);
        f.home.writeFile(u"Downloads/lease.pdf"_s, "%PDF-1.4 tenancy");
        f.home.writeFile(u"Downloads/blob.bin"_s, "\x01\x02");
        auto window = openOnboarding(f);
        click(control(*window, u"Sort without a model"_s));
        QVERIFY(!control<QLineEdit>(*window, u"Claude API key"_s)); // hidden: no key is asked for
        click(control(*window, u"Continue"_s));
        QCOMPARE(window->step(), 1);
        QSignalSpy finished(&f.state.get()->refresh(), &RefreshRun::finished);
        click(control(*window, u"Start my first refresh"_s));
        QCOMPARE(f.state->activity().phase(), Phase::scanning);
        QVERIFY(finished.wait(20000));
        QCOMPARE(f.state->activity().phase(), Phase::review);
        QCOMPARE(f.state->review().plan().size(), 2);
        QVERIFY(!f.state->refresh().lastRunCost()); // the panel leaves the cost line out
        QVERIFY(f.server.requests().isEmpty());
        QCOMPARE(Store::loadKey(), std::nullopt);
        f.state->review().flushEdits();
        QCOMPARE(Store::loadProfile().sortWith, SortWith::noModel);

        auto settings = openWindow(f);
        QVERIFY(control(*settings, u"No model"_s)->isChecked());
        QVERIFY(!control<QLineEdit>(*settings, u"Claude API key"_s));
        QVERIFY(!control(*settings, u"Fast"_s)); // no model to choose between
        click(control(*settings, u"Claude"_s));
        QTRY_COMPARE(Store::loadProfile().sortWith, SortWith::claude);
        QTRY_VERIFY(control(*settings, u"Fast"_s));
        click(control(*settings, u"No model"_s));
        QTRY_COMPARE(Store::loadProfile().sortWith, SortWith::noModel);
        QThreadPool::globalInstance()->waitForDone();
    }

    // The key is replaced but never shown; the reminder follows both its own switch and Sunday
    // Reset. The preference rows are the onboarding's own, tested there.
    void keyAndPreferences()
    {
        Fixture f(true);
        auto window = openWindow(f);
        QLineEdit* key = control<QLineEdit>(*window, u"Claude API key"_s);
        QVERIFY(key->text().isEmpty());
        QVERIFY(shownTexts(*window).contains(u"A key is stored. Paste a new one to replace it."_s));
        QVERIFY(!shownTexts(*window).join(u' ').contains(u"sk-stored-secret"_s));
        QVERIFY(!control(*window, u"Save key"_s)->isEnabled());
        type(key, u"sk-replacement"_s);
        QCOMPARE(key->echoMode(), QLineEdit::Password);
        click(control(*window, u"Save key"_s));
        QTRY_COMPARE(Store::loadKey(), std::optional(u"sk-replacement"_s));
        QVERIFY(key->text().isEmpty());
        QVERIFY(shownTexts(*window).contains(u"Saved."_s));

        QVERIFY(f.state->notifier()->reminderScheduled());
        QVERIFY(control(*window, u"Sunday 9 AM reminder"_s)->isChecked());
        click(control(*window, u"Sunday Reset"_s));
        QTRY_VERIFY(Store::loadProfile().autoTidy);
        QVERIFY(!f.state->notifier()->reminderScheduled());
        click(control(*window, u"Sunday 9 AM reminder"_s));
        QCOMPARE(Fixture::storedReminder(), std::optional(false));
        click(control(*window, u"Sunday Reset"_s));
        QVERIFY(!f.state->notifier()->reminderScheduled());
        click(control(*window, u"Sunday 9 AM reminder"_s));
        QCOMPARE(Fixture::storedReminder(), std::optional(true));
        QVERIFY(f.state->notifier()->reminderScheduled());
    }

    // A full disk: the switch keeps its new place, the window says the change was not saved,
    // and it is written as the window closes once there is room.
    void changesOnAFullDisk()
    {
        if (!TmpfsMount::allowed())
            QSKIP("a full disk is a small file system mounted by the test, which needs root");
        Fixture f(true);
        const TmpfsMount disk(f.home.supportDir(), false, "size=256k");
        QVERIFY(disk.isMounted());
        f.home.saveProfile(true);
        auto window = openWindow(f);
        disk.fill();
        click(control(*window, u"Sunday Reset"_s));
        QTRY_VERIFY(shownTexts(*window).contains(u"Couldn't save your change: the disk is full."_s));
        QVERIFY(f.state->preferences().profile().autoTidy && !Store::loadProfile().autoTidy);
        QFile::remove(f.home.supportDir() + u"/filler"_s);
        window->close();
        QTRY_VERIFY(Store::loadProfile().autoTidy);
        QTRY_VERIFY(!shownTexts(*window).contains(u"Couldn't save your change: the disk is full."_s));
    }

    // Projects come and go from the profile on disk; removing the last brings back "None yet".
    void projects()
    {
        Fixture f(true, {Project {QUuid::createUuid(), u"Quorrel"_s, u"quorrelcards, Quorrel launch"_s}});
        auto window = openWindow(f);
        QVERIFY(shownTexts(*window).contains(u"quorrelcards, Quorrel launch"_s));
        const QString none = u"None yet. They're learned automatically on your first refresh."_s;
        QVERIFY(!shownTexts(*window).contains(none));

        QVERIFY(!control(*window, u"Add"_s)->isEnabled());
        type(control<QLineEdit>(*window, u"Add a project"_s), u"Harbor Fest"_s);
        type(control<QLineEdit>(*window, u"Other names, comma separated"_s), u"harbor, HF 2026"_s);
        click(control(*window, u"Add"_s));
        f.state->review().flushEdits();
        QList<Project> stored = Store::loadProfile().projects;
        QCOMPARE(stored.size(), 2);
        QCOMPARE(stored.last().name, u"Harbor Fest"_s);
        QCOMPARE(stored.last().aliases, u"harbor, HF 2026"_s);
        QVERIFY(shownTexts(*window).contains(u"Harbor Fest"_s));

        click(control(*window, u"Remove Quorrel"_s));
        f.state->review().flushEdits();
        stored = Store::loadProfile().projects;
        QCOMPARE(stored.size(), 1);
        QCOMPARE(stored.first().name, u"Harbor Fest"_s);
        QVERIFY(!shownTexts(*window).contains(u"Quorrel"_s));
        click(control(*window, u"Remove Harbor Fest"_s));
        QTRY_VERIFY(Store::loadProfile().projects.isEmpty());
        QVERIFY(shownTexts(*window).contains(none));
    }

    // The usage summary: a fraction of a cent, real amounts, and a damaged or missing file as nothing spent.
    void usageSummary()
    {
        Fixture f(true);
        f.home.writeFile(u".local/share/Brindlow/usage.json"_s, R"({
            "totalUSD": 12.3456,
            "months": {"2026-02": {"usd": 12.3426, "files": 900}, "2026-03": {"usd": 0.003, "files": 42}},
            "runs": [{"date": "2026-02-27T09:00:00Z", "usd": 12.3426, "files": 900, "calls": 80},
                     {"date": "2026-03-02T09:00:00Z", "usd": 0.003, "files": 42, "calls": 3}]})");
        auto window = openWindow(f);
        QCOMPARE(label(*window, u"this month"_s), u"<$0.01"_s);
        QCOMPARE(label(*window, u"last refresh"_s), u"<$0.01"_s);
        QCOMPARE(label(*window, u"all time"_s), u"$12.35"_s);
        QVERIFY(shownTexts(*window).contains(u"42 files this month"_s));

        f.clock.set(QDateTime(QDate(2026, 2, 10), QTime(10, 0), Qt::LocalTime));
        reread(*window);
        QCOMPARE(label(*window, u"this month"_s), u"$12.34"_s);
        QVERIFY(shownTexts(*window).contains(u"900 files this month"_s));

        f.home.writeFile(u".local/share/Brindlow/usage.json"_s, "{\"totalUSD\": 3, \"months\": ");
        reread(*window);
        for (const QString& amount : {u"last refresh"_s, u"this month"_s, u"all time"_s})
            QCOMPARE(label(*window, amount), u"<$0.01"_s);
        QVERIFY(shownTexts(*window).contains(u"0 files this month"_s));
    }

    // The switch writes and removes the desktop's autostart entry, and shows what is there.
    void startAtLogin()
    {
        Fixture f(true);
        auto window = openWindow(f);
        QAbstractButton* toggle = settledLoginSwitch(*window);
        QVERIFY(!toggle->isChecked());

        QSignalSpy settled(window->findChild<StartAtLoginRow*>(), &StartAtLoginRow::settled);
        click(toggle);
        QVERIFY(settled.wait(5000));
        QFile entry(f.autostartPath());
        QVERIFY(entry.open(QIODevice::ReadOnly));
        QVERIFY(entry.readAll().contains("\nExec=\"/opt/Brindlow Apps/brindlow\"\n"));
        entry.close();

        click(toggle);
        QVERIFY(settled.wait(5000));
        QVERIFY(!QFile::exists(f.autostartPath()));
        QVERIFY(!toggle->isChecked());

        // A window opened later shows the entry that is there.
        QVERIFY(f.autostart().setOn(true));
        QVERIFY(settledLoginSwitch(*openWindow(f))->isChecked());
    }

    // The secondary buttons reach the move history and the previews.
    void historyPreviewsAndVersion()
    {
        Fixture f(true);
        auto window = openWindow(f);
        QStringList windows;
        QObject::connect(window.get(), &SettingsWindow::windowRequested, window.get(), [&windows](const QString& id) {
            windows.append(id);
        });
        QSignalSpy folders(window.get(), &SettingsWindow::folderRequested);

        click(control(*window, u"Preview recap"_s));
        QCOMPARE(windows, QStringList {u"recap"_s});
        QVERIFY(f.state->moves().recap() && f.state->moves().recap()->renameFrom && f.state->moves().recap()->renameTo);
        click(control(*window, u"Preview animation"_s));
        QCOMPARE(windows.last(), u"zen"_s);

        click(control(*window, u"Open move history"_s));
        QCOMPARE(windows.last(), u"history"_s);
        QVERIFY(folders.isEmpty());
    }
};

QTEST_MAIN(TestSettings)
#include "tst_settings.moc"
