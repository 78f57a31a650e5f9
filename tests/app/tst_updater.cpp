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
#include <QTcpSocket>

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

// A feed server on loopback that misbehaves the way a broken or hostile one does: each path is
// answered in full, with one byte and then silence, or with bytes that never end.
class FeedServer : public QObject
{
public:
    enum class Answer { full, stall, endless };
    QMap<QByteArray, std::pair<Answer, QByteArray>> answers;
    qint64 endlessBytesSent = 0;

    FeedServer()
    {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection()) {
                // A small send buffer, so that what was sent is close to what the reader took.
                socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, 16 * 1024);
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { answer(socket); });
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }

    QUrl url() const
    {
        return QUrl(u"http://127.0.0.1:%1/feed.json"_s.arg(m_server.serverPort()));
    }

private:
    void answer(QTcpSocket* socket)
    {
        const QByteArray request = socket->readAll();
        const QByteArray path = request.split(' ').value(1);
        const auto [kind, body] = answers.value(path, {Answer::full, QByteArray()});
        if (kind == Answer::full) {
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size())
                          + "\r\nConnection: close\r\n\r\n" + body);
            socket->disconnectFromHost();
        } else if (kind == Answer::stall) {
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n{");
        } else {
            // No length: the body ends only when the connection does, which is never.
            socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
            connect(socket, &QTcpSocket::bytesWritten, socket, [this, socket] {
                if (socket->bytesToWrite() == 0) {
                    endlessBytesSent += 64 * 1024;
                    socket->write(QByteArray(64 * 1024, ' '));
                }
            });
        }
    }

    QTcpServer m_server;
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

    // However the feed's server behaves, a check ends within its deadline having read only a few
    // kilobytes, and a check the person asks for never waits behind one that is stuck.
    void boundsWhatTheServerMaySend_data()
    {
        QTest::addColumn<int>("feedAnswer");
        QTest::addColumn<int>("signatureAnswer");
        QTest::addColumn<int>("feedPadding");
        QTest::addColumn<int>("signaturePadding");
        QTest::addColumn<QString>("warning");
        constexpr int full = int(FeedServer::Answer::full);
        constexpr int stall = int(FeedServer::Answer::stall);
        constexpr int endless = int(FeedServer::Answer::endless);
        QTest::newRow("feed sends one byte, then nothing") << stall << full << 0 << 0 << u"within 30 seconds"_s;
        QTest::newRow("signature sends one byte, then nothing") << full << stall << 0 << 0 << u"within 30 seconds"_s;
        QTest::newRow("endless feed") << endless << full << 0 << 0 << u"larger than"_s;
        QTest::newRow("endless signature") << full << endless << 0 << 0 << u"larger than"_s;
        QTest::newRow("signed feed over 64 KiB") << full << full << 64 * 1024 << 0 << u"larger than"_s;
        QTest::newRow("signature over 1 KiB") << full << full << 0 << 1024 << u"larger than"_s;
        QTest::newRow("just within both limits") << full << full << 60 * 1024 << 900 << QString();
    }

    void boundsWhatTheServerMaySend()
    {
        QFETCH(int, feedAnswer);
        QFETCH(int, signatureAnswer);
        QFETCH(int, feedPadding);
        QFETCH(int, signaturePadding);
        QFETCH(QString, warning);
        Feed feed;
        FeedServer server;
        // Blanks after the JSON and after the base64 leave a valid, signed feed.
        const QByteArray document = feedFor(u"2.0"_s) + QByteArray(feedPadding, ' ');
        server.answers.insert("/feed.json", {FeedServer::Answer(feedAnswer), document});
        server.answers.insert(
            "/feed.json.sig",
            {FeedServer::Answer(signatureAnswer), feed.key.signBase64(document) + QByteArray(signaturePadding, ' ')});
        auto updater = feed.updater({server.url(), feed.key.publicKeyBase64(), kInstalled});
        QSignalSpy finished(updater.get(), &Updater::checkFinished);
        if (!warning.isEmpty())
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(warning));
        updater->start();
        if (feedAnswer == int(FeedServer::Answer::stall) || signatureAnswer == int(FeedServer::Answer::stall)) {
            QTest::qWait(200);
            QVERIFY(finished.isEmpty());
            feed.clock.advance(std::chrono::seconds(30));
        }
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 10000);
        QCOMPARE(updater->updateAvailable(), warning.isEmpty());
        // What the kernel buffers on loopback aside (a few hundred KiB), an endless answer was not read on.
        QCOMPARE_LT(server.endlessBytesSent, 1024 * 1024);
    }

    void askedCheckDoesNotWaitBehindAStuckOne()
    {
        Feed feed;
        FeedServer server;
        const QByteArray document = feedFor(u"2.0"_s);
        server.answers.insert("/feed.json", {FeedServer::Answer::stall, document});
        server.answers.insert("/feed.json.sig", {FeedServer::Answer::full, feed.key.signBase64(document)});
        auto updater = feed.updater({server.url(), feed.key.publicKeyBase64(), kInstalled});
        QSignalSpy offered(updater.get(), &Updater::releaseOffered);
        updater->start();
        QTest::qWait(200);

        // The feed recovers; the person's check reaches it while the first still hangs.
        server.answers.insert("/feed.json", {FeedServer::Answer::full, document});
        updater->checkForUpdates();
        QVERIFY(offered.wait(5000));
        QVERIFY(updater->updateAvailable());
        // The abandoned check ends quietly, also when its deadline passes.
        QSignalSpy finished(updater.get(), &Updater::checkFinished);
        feed.clock.advance(std::chrono::seconds(30));
        QTest::qWait(100);
        QVERIFY(finished.isEmpty());
        QCOMPARE(offered.size(), 1);
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
        // A copy the package manager keeps up to date has none, however good its feed, and says nothing.
        Updater::Settings packaged = feed.settings();
        packaged.packageManaged = true;
        QVERIFY(!feed.updater(packaged));
    }

    // A check the person asked for always ends in something they can see, and hear: the release,
    // "up to date", or that it could not tell. The line goes again after a few seconds.
    void askedCheckSaysHowItEnded_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("published");
        QTest::addColumn<QString>("note");
        QTest::addColumn<bool>("waitItOut"); // once is enough: it takes seconds
        const QString upToDate = u"Brindlow is up to date."_s;
        const QString failed = u"Couldn't check for updates. Try again later."_s;
        QTest::newRow("nothing newer") << 200 << kInstalled << upToDate << true;
        QTest::newRow("only an older one") << 200 << u"1.3"_s << upToDate << false;
        QTest::newRow("server down") << 503 << u"2.0"_s << failed << false;
        QTest::newRow("feed not ours") << 0 << u"2.0"_s << failed << false;
    }

    void askedCheckSaysHowItEnded()
    {
        QFETCH(int, status);
        QFETCH(QString, published);
        QFETCH(QString, note);
        QFETCH(bool, waitItOut);
        ControllerFixture f;
        const auto state = f.start();
        MenuView view(state->parts());
        view.show();
        // Without an updater the panel offers no check at all.
        QVERIFY(!control(*view.idlePanel(), u"Check for updates"_s));
        Feed feed;
        feed.document = feedFor(published);
        if (status == 0)
            feed.signature = SigningKey().signBase64(feed.document);
        else if (status != 200)
            feed.server.setHandler([status](const auto&) -> FakeClaudeServer::Response { return {status, "down", 0}; });
        auto updater = feed.updater(feed.settings());
        UpdateDialog::attach(*updater, view);
        if (status != 200)
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(u"^(Update check failed|Ignoring the update feed): "_s));

        click(control(*view.idlePanel(), u"Check for updates"_s));
        QVERIFY(waitForCheck(*updater));
        QVERIFY(!shownDialog());
        const QLabel* line = control<QLabel>(*view.idlePanel(), note);
        QVERIFY2(line, qPrintable(WidgetDriver::shownTexts(*view.idlePanel()).join(u" | "_s)));
        QCOMPARE(line->text(), note);
        if (!waitItOut)
            return;
        QTRY_VERIFY_WITH_TIMEOUT(!line->isVisible(), int(IdlePanel::kUpdateNoteShown.count()) + 2000);
        // The start's own check, unasked, says nothing.
        updater->start();
        QVERIFY(waitForCheck(*updater));
        QVERIFY(!line->isVisible());
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
