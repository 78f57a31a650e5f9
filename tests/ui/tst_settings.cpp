#include "tst_settings_fixture.h"
#include "ui/settings/settings_window.h"
#include "ui/settings/start_at_login_row.h"
#include "ui/settings/usage_summary.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QSignalSpy>

using namespace SettingsTest;

namespace {

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

class TestSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        Theme::apply(*qApp);
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
        type(key, u"s"_s);
        QVERIFY(!shownTexts(*window).contains(u"Saved."_s));

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
        QVERIFY(control<QLineEdit>(*window, u"Add a project"_s)->text().isEmpty());
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
        const QByteArray text = entry.readAll();
        QVERIFY(text.startsWith("[Desktop Entry]\n"));
        QVERIFY(text.contains("\nExec=\"/opt/Brindlow Apps/brindlow\"\n"));
        entry.close();

        click(toggle);
        QVERIFY(settled.wait(5000));
        QVERIFY(!QFile::exists(f.autostartPath()));
        QVERIFY(!toggle->isChecked());

        // A window opened later shows the entry that is there.
        QVERIFY(f.autostart().setOn(true));
        QVERIFY(settledLoginSwitch(*openWindow(f))->isChecked());
    }

    // The secondary buttons reach the move history and the previews; the version is from the build.
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
        QVERIFY(folders.wait(5000));
        QCOMPARE(folders.first().first().toString(), f.home.supportDir() + u"/logs"_s);
        QVERIFY(QFileInfo(f.home.supportDir() + u"/logs"_s).isDir());

        QVERIFY(window->findChild<QLabel*>(u"version"_s)->text().size() > u"Brindlow "_s.size());
    }
};

QTEST_MAIN(TestSettings)
#include "tst_settings.moc"
