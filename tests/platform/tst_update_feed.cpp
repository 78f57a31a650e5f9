#include "platform/signature.h"
#include "platform/update_feed.h"
#include "support/signing_key.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

Q_DECLARE_METATYPE(std::optional<int>)

class TestUpdateFeed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void versions_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<std::optional<int>>("order");
        QTest::newRow("numbers, not text") << u"1.10"_s << u"1.9"_s << std::optional(1);
        QTest::newRow("patch") << u"0.1.0"_s << u"0.1.1"_s << std::optional(-1);
        QTest::newRow("trailing zeros") << u"1.2"_s << u"1.2.0"_s << std::optional(0);
        QTest::newRow("leading v") << u"v2.0"_s << u"1.99.9"_s << std::optional(1);
        QTest::newRow("suffix") << u"1.2-beta"_s << u"1.2"_s << std::optional<int>();
        QTest::newRow("empty part") << u"1..2"_s << u"1.2"_s << std::optional<int>();
        QTest::newRow("sign") << u"+1"_s << u"1"_s << std::optional<int>();
        QTest::newRow("nothing") << QString() << u"1"_s << std::optional<int>();
    }

    void versions()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(std::optional<int>, order);
        QCOMPARE(UpdateFeed::compareVersions(a, b), order);
        QCOMPARE(UpdateFeed::compareVersions(b, a), order ? std::optional(-*order) : order);
    }

    void documents()
    {
        const auto release = UpdateFeed::parse(
            "{\"version\": \" 1.3.0 \", \"releasePage\": \"https://example.org/r/1.3.0\", \"notes\": \"Faster.\\n\"}");
        QVERIFY(release);
        QCOMPARE(release->version, u"1.3.0"_s);
        QCOMPARE(release->releasePage, QUrl(u"https://example.org/r/1.3.0"_s));
        QCOMPARE(release->notes, u"Faster."_s);

        QVERIFY(UpdateFeed::parse("{\"version\": \"1.3\", \"releasePage\": \"https://example.org/\"}"));
        QVERIFY(!UpdateFeed::parse("{\"releasePage\": \"https://example.org/\"}"));
        QVERIFY(!UpdateFeed::parse("{\"version\": \"soon\", \"releasePage\": \"https://example.org/\"}"));
        QVERIFY(!UpdateFeed::parse("{\"version\": \"1.3\", \"releasePage\": \"http://example.org/\"}"));
        QVERIFY(!UpdateFeed::parse("{\"version\": \"1.3\", \"releasePage\": \"file:///bin/sh\"}"));
        QVERIFY(!UpdateFeed::parse("{\"version\": \"1.3\"}"));
        QVERIFY(!UpdateFeed::parse("[\"1.3\"]"));
        QVERIFY(!UpdateFeed::parse("<html>"));
    }

    void addresses()
    {
        QVERIFY(UpdateFeed::isAllowedAddress(QUrl(u"https://example.org/feed.json"_s)));
        QVERIFY(UpdateFeed::isAllowedAddress(QUrl(u"http://127.0.0.1:8080/feed.json"_s)));
        QVERIFY(UpdateFeed::isAllowedAddress(QUrl(u"http://[::1]/feed.json"_s)));
        QVERIFY(UpdateFeed::isAllowedAddress(QUrl(u"http://localhost/feed.json"_s)));
        QVERIFY(!UpdateFeed::isAllowedAddress(QUrl(u"http://example.org/feed.json"_s)));
        QVERIFY(!UpdateFeed::isAllowedAddress(QUrl(u"http://127.0.0.1.example.org/feed.json"_s)));
        QVERIFY(!UpdateFeed::isAllowedAddress(QUrl(u"ftp://example.org/feed.json"_s)));
        QVERIFY(!UpdateFeed::isAllowedAddress(QUrl(u"file:///tmp/feed.json"_s)));
        QCOMPARE(UpdateFeed::signatureAddress(QUrl(u"https://example.org/feed.json?channel=stable"_s)),
                 QUrl(u"https://example.org/feed.json.sig?channel=stable"_s));
    }

    void signatures()
    {
        const SigningKey key;
        const SigningKey other;
        const QByteArray feed = "{\"version\": \"1.3.0\"}";
        const QByteArray signature = key.sign(feed);
        QVERIFY(Signature::verifyEd25519(key.publicKey(), feed, signature));
        QVERIFY(!Signature::verifyEd25519(key.publicKey(), "{\"version\": \"9.9.9\"}", signature));
        QVERIFY(!Signature::verifyEd25519(other.publicKey(), feed, signature));
        QVERIFY(!Signature::verifyEd25519(key.publicKey(), feed, signature.left(63)));
        QVERIFY(!Signature::verifyEd25519(key.publicKey().left(31), feed, signature));
        QVERIFY(!Signature::verifyEd25519(key.publicKey(), feed, QByteArray(64, '\0')));
    }
};

QTEST_GUILESS_MAIN(TestUpdateFeed)
#include "tst_update_feed.moc"
