#include "app/update_dialog.h"
#include "app/updater.h"
#include "support/controller_fixture.h"
#include "support/widget_driver.h"
#include "ui/panel/idle_panel.h"
#include "ui/panel/menu_view.h"

#include <QApplication>
#include <QDesktopServices>
#include <QSignalSpy>
#include <QTcpServer>

#include <openssl/evp.h>

using namespace Qt::Literals::StringLiterals;

namespace {

using namespace WidgetDriver;

const QString kInstalled = u"1.4.0"_s;

// A fresh Ed25519 key, made the way a release's signing key is.
struct SigningKey
{
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key {nullptr, &EVP_PKEY_free};

    SigningKey()
    {
        EVP_PKEY* made = nullptr;
        std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
            EVP_PKEY_CTX_new_id(EVP_PKEY_ED25519, nullptr), &EVP_PKEY_CTX_free);
        if (!context || EVP_PKEY_keygen_init(context.get()) != 1 || EVP_PKEY_keygen(context.get(), &made) != 1)
            qFatal("cannot make an Ed25519 key");
        key.reset(made);
    }

    QByteArray publicKeyBase64() const
    {
        QByteArray raw(32, '\0');
        size_t length = 32;
        EVP_PKEY_get_raw_public_key(key.get(), reinterpret_cast<unsigned char*>(raw.data()), &length);
        return raw.toBase64();
    }

    QByteArray signBase64(const QByteArray& message) const
    {
        QByteArray signature(64, '\0');
        size_t length = 64;
        std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
        EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key.get());
        EVP_DigestSign(context.get(),
                       reinterpret_cast<unsigned char*>(signature.data()),
                       &length,
                       reinterpret_cast<const unsigned char*>(message.constData()),
                       size_t(message.size()));
        return signature.toBase64() + '\n';
    }
};

QByteArray feedFor(const QString& version, const QString& page = u"https://example.org/releases/"_s)
{
    return u"{\"version\": \"%1\", \"releasePage\": \"%2%1\", \"notes\": \"Sorts faster.\"}"_s.arg(version, page)
        .toUtf8();
}

// The signed feed on loopback, as the release server serves it.
struct Feed
{
    SigningKey key;
    FakeClaudeServer server;
    QByteArray document = feedFor(kInstalled);
    std::optional<QByteArray> signature; // the document's own when absent
    int signatureStatus = 200;
    TestClock clock;

    Feed()
    {
        server.setHandler([this](const FakeClaudeServer::Request& request) -> FakeClaudeServer::Response {
            if (request.path == "/feed.json.sig")
                return {signatureStatus, signature.value_or(key.signBase64(document)), 0};
            return {request.path == "/feed.json" ? 200 : 404, document, 0};
        });
    }

    Updater::Settings settings() const
    {
        return {server.url().resolved(QUrl(u"/feed.json"_s)), key.publicKeyBase64(), kInstalled};
    }

    std::unique_ptr<Updater> updater(const Updater::Settings& settings)
    {
        return std::unique_ptr<Updater>(Updater::create(settings, clock));
    }
};

bool waitForCheck(Updater& updater)
{
    return QSignalSpy(&updater, &Updater::checkFinished).wait(10000);
}

UpdateDialog* shownDialog()
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* dialog = qobject_cast<UpdateDialog*>(widget); dialog && dialog->isVisible())
            return dialog;
    }
    return nullptr;
}

} // namespace

// The desktop's browser, as far as QDesktopServices is concerned.
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

class TestUpdater : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void comparesWithOwnVersion_data()
    {
        QTest::addColumn<QString>("published");
        QTest::addColumn<bool>("available");
        QTest::newRow("newer, by number not by text") << u"1.10.0"_s << true;
        QTest::newRow("same") << u"1.4"_s << false;
        QTest::newRow("older") << u"1.3.9"_s << false;
    }

    void comparesWithOwnVersion()
    {
        QFETCH(QString, published);
        QFETCH(bool, available);
        Feed feed;
        feed.document = feedFor(published);
        auto updater = feed.updater(feed.settings());
        updater->start();
        QVERIFY(waitForCheck(*updater));
        QCOMPARE(updater->updateAvailable(), available);
        QCOMPARE(updater->release().has_value(), available);
        // Found only when the feed and its signature both came from where the settings say.
        if (available)
            QCOMPARE(updater->release()->releasePage, QUrl(u"https://example.org/releases/"_s + published));
    }

    void ignoresFeedsWithoutItsSignature_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("warning");
        QTest::newRow("someone else's key") << u"stranger"_s << u"signature does not match"_s;
        QTest::newRow("signature of another feed") << u"other"_s << u"signature does not match"_s;
        QTest::newRow("not base64") << u"garbage"_s << u"signature does not match"_s;
        QTest::newRow("missing") << u"missing"_s << u"signature could not be fetched"_s;
        QTest::newRow("signed, but sends people to http") << u"http"_s << u"names no release"_s;
    }

    void ignoresFeedsWithoutItsSignature()
    {
        QFETCH(QString, kind);
        QFETCH(QString, warning);
        Feed feed;
        feed.document = feedFor(u"2.0"_s, kind == u"http" ? u"http://example.org/"_s : u"https://example.org/"_s);
        if (kind == u"stranger")
            feed.signature = SigningKey().signBase64(feed.document);
        else if (kind == u"other")
            feed.signature = feed.key.signBase64(feedFor(u"1.0"_s));
        else if (kind == u"garbage")
            feed.signature = "not a signature!";
        else if (kind == u"missing")
            feed.signatureStatus = 404;
        auto updater = feed.updater(feed.settings());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Ignoring the update feed: .*"_s + warning));
        updater->start();
        QVERIFY(waitForCheck(*updater));
        QVERIFY(!updater->updateAvailable());
    }

    void checksDailyAndSurvivesAnUnreachableFeed()
    {
        Feed feed;
        auto updater = feed.updater(feed.settings());
        updater->start();
        QVERIFY(waitForCheck(*updater));
        QVERIFY(!updater->updateAvailable());

        feed.document = feedFor(u"1.5"_s);
        feed.clock.advance(Updater::kInterval);
        QVERIFY(waitForCheck(*updater));
        QVERIFY(updater->updateAvailable());

        // A server that is down takes back nothing already found.
        feed.server.setHandler([](const auto&) -> FakeClaudeServer::Response { return {503, "down", 0}; });
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Update check failed: "_s));
        feed.clock.advance(Updater::kInterval);
        QVERIFY(waitForCheck(*updater));
        QCOMPARE(updater->release()->version, u"1.5"_s);

        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        Updater::Settings nowhere = feed.settings();
        nowhere.feed.setPort(closed.serverPort());
        closed.close();
        auto offline = feed.updater(nowhere);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Update check failed: "_s));
        offline->checkForUpdates();
        QVERIFY(waitForCheck(*offline));
        QVERIFY(!offline->updateAvailable());
    }

    void settingsDecideWhetherThereIsAnUpdater()
    {
        Feed feed;
        QVERIFY(!feed.updater({QUrl(), feed.key.publicKeyBase64(), kInstalled}));
        QVERIFY(!feed.updater({feed.settings().feed, {}, kInstalled}));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"not an https address"_s));
        QVERIFY(!feed.updater({QUrl(u"http://example.org/feed.json"_s), feed.key.publicKeyBase64(), kInstalled}));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"raw Ed25519 public key"_s));
        QVERIFY(!feed.updater({feed.settings().feed, QByteArray(31, 'k').toBase64(), kInstalled}));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"version \"\" is not a dotted number"_s));
        QVERIFY(!feed.updater({feed.settings().feed, feed.key.publicKeyBase64(), QString()}));
    }

    void panelButtonShowsTheRelease()
    {
        ControllerFixture f;
        const auto state = f.start();
        MenuView view(state->parts());
        Feed feed;
        auto updater = feed.updater(feed.settings());
        UpdateDialog::attach(*updater, view);
        view.show();
        Browser browser;
        QDesktopServices::setUrlHandler(u"https"_s, &browser, "open");

        feed.document = feedFor(u"1.5.0"_s);
        click(control(*view.idlePanel(), u"Check for updates"_s));
        QVERIFY(waitForCheck(*updater));
        QVERIFY(shownDialog());
        QCOMPARE(shownDialog()->findChild<QLabel*>(u"updateHeading"_s)->text(), u"Brindlow 1.5.0 is available"_s);
        click(control(*shownDialog(), u"Open Release Page"_s));
        QCOMPARE(browser.opened, (QList<QUrl> {QUrl(u"https://example.org/releases/1.5.0"_s)}));
        QVERIFY(!shownDialog());

        // Once known, the release is shown again without asking the server.
        click(control(*view.idlePanel(), u"Update available"_s));
        QVERIFY(shownDialog());
        QCOMPARE(feed.server.requestCount(), 2);
        QDesktopServices::unsetUrlHandler(u"https"_s);
    }
};

QTEST_MAIN(TestUpdater)
#include "tst_updater.moc"
