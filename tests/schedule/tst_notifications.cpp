#include "platform/desktop_notifications.h"
#include "schedule/notifier.h"
#include "support/controller_fixture.h"
#include "support/fake_notification_service.h"
#include "support/file_factory.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// Messages on one connection arrive in order: once the service answers this call, every notice
// the program sent before it has been seen, so "nothing was shown" is a fact, not a guess.
bool syncWithService()
{
    QDBusMessage call = QDBusMessage::createMethodCall(u"org.freedesktop.Notifications"_s,
                                                       u"/org/freedesktop/Notifications"_s,
                                                       u"org.freedesktop.Notifications"_s,
                                                       u"GetCapabilities"_s);
    QDBusPendingCallWatcher watcher(QDBusConnection::sessionBus().asyncCall(call));
    QSignalSpy answered(&watcher, &QDBusPendingCallWatcher::finished);
    return watcher.isFinished() || answered.wait(5000);
}

} // namespace

// Runs inside a D-Bus session of its own (see tests/CMakeLists.txt), with a notification
// service of the test's own on it.
class TestNotifications : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void weeklyReminder()
    {
        TempHome home;
        FakeNotificationService service;
        QVERIFY(service.registered());
        TestClock clock(QDateTime(QDate(2026, 3, 1), QTime(8, 55), Qt::LocalTime)); // a Sunday
        const std::unique_ptr<NotificationService> desktop(DesktopNotifications::create(nullptr));
        Notifier notifier(desktop.get(), &clock);

        notifier.setUp(false);
        QVERIFY(notifier.reminderScheduled());
        notifier.checkReminder();
        QVERIFY(syncWithService());
        QVERIFY(service.shown.isEmpty()); // not before 9:00
        clock.set(QDateTime(QDate(2026, 3, 1), QTime(9, 5), Qt::LocalTime));
        notifier.checkReminder();
        QTRY_COMPARE(service.shown.size(), 1);
        QVERIFY(service.shown[0].actions.contains(u"default"_s)); // a click on it reaches the program
        clock.set(QDateTime(QDate(2026, 3, 1), QTime(9, 15), Qt::LocalTime));
        notifier.checkReminder(); // once a week only
        clock.set(QDateTime(QDate(2026, 3, 4), QTime(9, 15), Qt::LocalTime));
        notifier.checkReminder(); // a Wednesday
        QVERIFY(syncWithService());
        QCOMPARE(service.shown.size(), 1);
        clock.set(QDateTime(QDate(2026, 3, 8), QTime(10, 0), Qt::LocalTime));
        notifier.checkReminder();
        QTRY_COMPARE(service.shown.size(), 2);
        QCOMPARE(service.shown[1].replaces, service.shown[0].id); // the new one replaces the old

        // The automatic refresh takes the reminder's place; so does switching it off.
        notifier.setUp(true);
        QVERIFY(!notifier.reminderScheduled());
        QTRY_COMPARE(service.closed, QList<uint> {service.shown[1].id});
        notifier.setUp(false);
        QVERIFY(notifier.reminderScheduled());
        Notifier::setReminderOn(false);
        notifier.setUp(false);
        QVERIFY(!notifier.reminderScheduled() && !Notifier::reminderOn());
        QSettings(u"Brindlow"_s, u"Brindlow"_s).setValue(u"sundayReminderOn"_s, u"maybe"_s);
        QVERIFY(Notifier::reminderOn());

        // The command line's notifier keeps plans to the terminal.
        notifier.setAnnouncesPlans(false);
        notifier.planReady(3);
        QVERIFY(syncWithService());
        QCOMPARE(service.shown.size(), 2);
    }

    void planReadyAndClicks()
    {
        ControllerFixture f;
        FakeNotificationService service;
        f.server.setHandler(
            FakeClaudeServer::sorting([](qint64) { return FakeClaudeServer::decision(u"admin"_s, {}, u"form"_s); }));
        for (int i = 0; i < 3; ++i)
            FileFactory::write(f.home.path() + u"/Downloads/form %1.txt"_s.arg(i), "form");

        const auto state = f.start();
        QVERIFY(ControllerFixture::refresh(*state));
        QTRY_COMPARE(service.shown.size(), 1);
        QCOMPARE(service.shown[0].body, u"3 changes are waiting. Nothing moves until you say so."_s);

        // Clicking it, or even an old reminder, opens the review while a plan waits.
        service.click(service.shown[0].id);
        QTRY_COMPARE(f.windows, QStringList {u"review"_s});
        state->handleNotification(u"sunday-reminder"_s);
        QCOMPARE(f.windows, (QStringList {u"review"_s, u"review"_s}));

        // The notice goes with its plan, applied or dropped.
        state->moves().apply(true);
        QVERIFY(ControllerFixture::waitForMove(*state));
        QTRY_COMPARE(service.closed, QList<uint> {service.shown[0].id});
        FileFactory::write(f.home.path() + u"/Downloads/form 3.txt"_s, "form");
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::deep));
        state->review().discard(); // before the service has even answered the new notice
        QTRY_COMPARE(service.closed.size(), 2);
        QCOMPARE(service.shown.size(), 2);
        QCOMPARE(service.closed, (QList<uint> {service.shown[0].id, service.shown[1].id}));
        QCOMPARE(Notifier::planReadyBody(1234), u"1,234 changes are waiting. Nothing moves until you say so."_s);
    }

    void fallbackWithoutService()
    {
        QStringList fellBack;
        int toldUnavailable = 0;
        const std::unique_ptr<NotificationService> desktop(DesktopNotifications::create(
            nullptr,
            {.fallback
             = [&fellBack](const QString& identifier, const QString&, const QString&) { fellBack.append(identifier); },
             .unavailable = [&toldUnavailable] { ++toldUnavailable; }}));
        desktop->post(u"plan-ready"_s, u"Your fresh start is ready"_s, u"1 changes are waiting."_s);
        desktop->post(u"sunday-reminder"_s, u"Brindlow"_s, u"Don't forget to start the week fresh."_s);
        QTRY_COMPARE_WITH_TIMEOUT(fellBack, (QStringList {u"plan-ready"_s, u"sunday-reminder"_s}), 30000);
        QCOMPARE(toldUnavailable, 1);
    }
};

QTEST_MAIN(TestNotifications)
#include "tst_notifications.moc"
