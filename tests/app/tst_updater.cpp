#include "app/update_dialog.h"
#include "app/updater.h"
#include "controller/app_state.h"
#include "model/store.h"
#include "support/fake_claude_server.h"
#include "support/signing_key.h"
#include "support/temp_home.h"
#include "support/test_clock.h"
#include "ui/panel/idle_panel.h"
#include "ui/panel/menu_view.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDesktopServices>
#include <QLabel>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString kInstalled = u"1.4.0"_s;

QByteArray feedFor(const QString& version)
{
    return u"{\"version\": \"%1\", \"releasePage\": \"https://example.org/releases/%1\", \"notes\": \"Sorts faster.\"}"_s
        .arg(version)
        .toUtf8();
}

QAbstractButton* button(const QWidget& root, const QString& name)
{
    for (QAbstractButton* candidate : root.findChildren<QAbstractButton*>()) {
        if (candidate->text() == name || candidate->accessibleName() == name)
            return candidate;
    }
    return nullptr;
}

QList<UpdateDialog*> openDialogs()
{
    QList<UpdateDialog*> dialogs;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* dialog = qobject_cast<UpdateDialog*>(widget); dialog && dialog->isVisible())
            dialogs.append(dialog);
    }
    return dialogs;
}

} // namespace

// Stands in for the desktop's browser: QDesktopServices hands https addresses to it.
class Browser : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public Q_SLOTS:
    void open(const QUrl& url)
    {
        opened.append(url);
    }
};

// A signed feed served on loopback, as the release server would serve it.
class Feed
{
public:
    SigningKey key;
    FakeClaudeServer server;
    QByteArray document = feedFor(kInstalled);
    std::optional<QByteArray> signature; // the document's own when absent
    int signatureStatus = 200;
    TestClock clock;

    Feed()
    {
        server.setHandler([this](const FakeClaudeServer::Request& request) -> FakeClaudeServer::Response {
            if (request.path == "/feed.json")
                return {200, document, 0};
            if (request.path == "/feed.json.sig")
                return {signatureStatus, signature.value_or(key.signBase64(document) + "\n"), 0};
            return {404, {}, 0};
        });
    }

    Updater::Settings settings() const
    {
        return {server.url().resolved(QUrl(u"/feed.json"_s)), key.publicKeyBase64(), kInstalled};
    }

    std::unique_ptr<Updater> updater()
    {
        return std::unique_ptr<Updater>(Updater::create(settings(), clock));
    }

    static bool waitForCheck(Updater& updater)
    {
        QSignalSpy finished(&updater, &Updater::checkFinished);
        return finished.wait(10000);
    }
};

class TestUpdater : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void comparesWithOwnVersion_data()
    {
        QTest::addColumn<QString>("published");
        QTest::addColumn<bool>("available");
        QTest::newRow("newer") << u"1.10.0"_s << true;
        QTest::newRow("same") << u"1.4"_s << false;
        QTest::newRow("older") << u"1.3.9"_s << false;
    }

    void comparesWithOwnVersion()
    {
        QFETCH(QString, published);
        QFETCH(bool, available);
        Feed feed;
        feed.document = feedFor(published);
        auto updater = feed.updater();
        QVERIFY(updater);
        QSignalSpy changed(updater.get(), &Updater::updateAvailableChanged);
        updater->start();
        QVERIFY(Feed::waitForCheck(*updater));

        QCOMPARE(updater->updateAvailable(), available);
        QCOMPARE(changed.size(), available ? 1 : 0);
        QCOMPARE(updater->release().has_value(), available);
        if (available) {
            QCOMPARE(updater->release()->version, published);
            QCOMPARE(updater->release()->releasePage, QUrl(u"https://example.org/releases/"_s + published));
            QCOMPARE(updater->release()->notes, u"Sorts faster."_s);
        }
        QStringList paths;
        for (const auto& request : feed.server.requests())
            paths.append(QString::fromLatin1(request.method + ' ' + request.path));
        paths.sort();
        QCOMPARE(paths, (QStringList {u"GET /feed.json"_s, u"GET /feed.json.sig"_s}));
    }

    void ignoresFeedsThatAreNotSigned_data()
    {
        QTest::addColumn<QString>("signature");
        QTest::addColumn<QString>("warning");
        QTest::newRow("someone else's key") << u"stranger"_s << u"does not match"_s;
        QTest::newRow("signature of another feed") << u"other feed"_s << u"does not match"_s;
        QTest::newRow("not base64") << u"garbage"_s << u"does not match"_s;
        QTest::newRow("missing") << u"missing"_s << u"could not be fetched"_s;
    }

    void ignoresFeedsThatAreNotSigned()
    {
        QFETCH(QString, signature);
        QFETCH(QString, warning);
        Feed feed;
        feed.document = feedFor(u"2.0"_s);
        if (signature == u"stranger")
            feed.signature = SigningKey().signBase64(feed.document);
        else if (signature == u"other feed")
            feed.signature = feed.key.signBase64(feedFor(u"1.0"_s));
        else if (signature == u"garbage")
            feed.signature = "not a signature!";
        else
            feed.signatureStatus = 404;
        auto updater = feed.updater();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Ignoring the update feed: .*"_s + warning));
        updater->start();
        QVERIFY(Feed::waitForCheck(*updater));
        QVERIFY(!updater->updateAvailable());
        QVERIFY(!updater->release());
    }

    void unreachableFeed()
    {
        Feed feed;
        feed.document = feedFor(u"1.5"_s);
        auto updater = feed.updater();
        updater->start();
        QVERIFY(Feed::waitForCheck(*updater));
        QVERIFY(updater->updateAvailable());

        // The server going away takes nothing back, and the next day's check tries again.
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        Updater::Settings settings = feed.settings();
        settings.feed.setPort(closed.serverPort());
        closed.close();
        TestClock offlineClock;
        auto offline = std::unique_ptr<Updater>(Updater::create(settings, offlineClock));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Update check failed: "_s));
        offline->start();
        QVERIFY(Feed::waitForCheck(*offline));
        QVERIFY(!offline->updateAvailable());

        feed.server.setHandler([](const FakeClaudeServer::Request&) -> FakeClaudeServer::Response {
            return {503, "busy", 0};
        });
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Update check failed: "_s));
        feed.clock.advance(Updater::kInterval);
        QVERIFY(Feed::waitForCheck(*updater));
        QVERIFY(updater->updateAvailable());
        QCOMPARE(updater->release()->version, u"1.5"_s);
    }

    void checksDaily()
    {
        Feed feed;
        auto updater = feed.updater();
        updater->start();
        QVERIFY(Feed::waitForCheck(*updater));
        QVERIFY(!updater->updateAvailable());

        feed.document = feedFor(u"1.4.1"_s);
        QSignalSpy changed(updater.get(), &Updater::updateAvailableChanged);
        feed.clock.advance(Updater::kInterval - 1min);
        QCOMPARE(feed.server.requestCount(), 2);
        feed.clock.advance(1min);
        QVERIFY(Feed::waitForCheck(*updater));
        QCOMPARE(feed.server.requestCount(), 4);
        QCOMPARE(changed.size(), 1);
        QVERIFY(updater->updateAvailable());

        // A release withdrawn from the feed is no longer offered.
        feed.document = feedFor(kInstalled);
        feed.clock.advance(Updater::kInterval);
        QVERIFY(Feed::waitForCheck(*updater));
        QVERIFY(!updater->updateAvailable());
        QCOMPARE(changed.size(), 2);
    }

    void settingsDecideWhetherThereIsAnUpdater()
    {
        Feed feed;
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        QVERIFY(!Updater::create({QUrl(), feed.key.publicKeyBase64(), kInstalled}, feed.clock));
        QVERIFY(!Updater::create({feed.settings().feed, QByteArray(), kInstalled}, feed.clock));
        QVERIFY(!Updater::create({}, feed.clock));
    }

    void unusableSettingsAreLogged()
    {
        Feed feed;
        const auto without = [&](auto change) {
            Updater::Settings settings = feed.settings();
            change(settings);
            return std::unique_ptr<Updater>(Updater::create(settings, feed.clock));
        };
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"not an https address"_s));
        QVERIFY(!without([](Updater::Settings& s) { s.feed = QUrl(u"http://example.org/feed.json"_s); }));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"raw Ed25519 public key"_s));
        QVERIFY(!without([](Updater::Settings& s) { s.publicKey = QByteArray(31, 'k').toBase64(); }));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"version \"\" is not a dotted number"_s));
        QVERIFY(!without([](Updater::Settings& s) { s.currentVersion.clear(); }));
    }

    void panelButtonOffersTheRelease()
    {
        TempHome home;
        Profile profile = Profile::defaults(home.path());
        profile.onboarded = true;
        Store::saveProfile(profile);
        Feed feed;
        feed.document = feedFor(u"1.5.0"_s);
        AppState state(&feed.clock);
        state.init();
        MenuView view(state);
        auto updater = feed.updater();
        UpdateDialog::attach(*updater, view);
        view.show();
        Browser browser;
        QDesktopServices::setUrlHandler(u"https"_s, &browser, "open");

        // Asked for, the check shows what it found.
        QAbstractButton* check = button(*view.idlePanel(), u"Check for updates"_s);
        QVERIFY(check && check->isVisible());
        QTest::mouseClick(check, Qt::LeftButton);
        QVERIFY(Feed::waitForCheck(*updater));
        QCOMPARE(check->text(), u"Update available"_s);
        QCOMPARE(openDialogs().size(), 1);
        UpdateDialog* dialog = openDialogs().first();
        QCOMPARE(dialog->findChild<QLabel*>(u"updateHeading"_s)->text(), u"Brindlow 1.5.0 is available"_s);
        QCOMPARE(dialog->findChild<QLabel*>(u"updateNotes"_s)->text(), u"Sorts faster."_s);
        QTest::mouseClick(button(*dialog, u"Open Release Page"_s), Qt::LeftButton);
        QCOMPARE(browser.opened, (QList<QUrl> {QUrl(u"https://example.org/releases/1.5.0"_s)}));
        QTRY_VERIFY(openDialogs().isEmpty());

        // Once known, the release is shown without asking the server again.
        QTest::mouseClick(check, Qt::LeftButton);
        QCOMPARE(openDialogs().size(), 1);
        QCOMPARE(feed.server.requestCount(), 2);
        QTest::mouseClick(button(*openDialogs().first(), u"Later"_s), Qt::LeftButton);
        QTRY_VERIFY(openDialogs().isEmpty());
        QVERIFY(browser.opened.size() == 1);
        QDesktopServices::unsetUrlHandler(u"https"_s);
    }

    void panelButtonWithNothingNewer()
    {
        TempHome home;
        Feed feed;
        AppState state(&feed.clock);
        MenuView view(state);
        auto updater = feed.updater();
        UpdateDialog::attach(*updater, view);
        QAbstractButton* check = button(*view.idlePanel(), u"Check for updates"_s);
        QVERIFY(check);
        check->click();
        QVERIFY(Feed::waitForCheck(*updater));
        QCOMPARE(check->text(), u"Check for updates"_s);
        QVERIFY(openDialogs().isEmpty());
    }
};

QTEST_MAIN(TestUpdater)
#include "tst_updater.moc"
