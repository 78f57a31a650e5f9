#include "model/store.h"
#include "support/fake_claude_server.h"
#include "support/file_factory.h"
#include "support/temp_home.h"
#include "understanding/discovery.h"

#include <QImage>
#include <QJsonArray>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

ScannedItem item(const QString& path, FileKind kind = FileKind::doc)
{
    ScannedItem scanned;
    scanned.url = QUrl::fromLocalFile(path);
    scanned.name = path.section(u'/', -1);
    scanned.kind = kind;
    scanned.isDir = kind == FileKind::folder || kind == FileKind::project;
    scanned.size = 100;
    scanned.modified = QDateTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
    return scanned;
}

QList<ScannedItem> plainItems(const QString& home, int count)
{
    QList<ScannedItem> items;
    for (int i = 0; i < count; ++i)
        items.append(item(home + u"/Documents/note %1.txt"_s.arg(i)));
    return items;
}

} // namespace

class TestDiscovery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void digestContents()
    {
        // The desktop's own names for its folders are no evidence either.
        TempHome french;
        french.writeFile(u".config/user-dirs.dirs"_s, "XDG_DESKTOP_DIR=\"$HOME/Bureau\"\n");
        const QString home = french.path();
        QList<ScannedItem> items {
            item(home + u"/Desktop/IMG_2041 quorrel-launch final.png"_s, FileKind::image),
            item(home + u"/Desktop/quorrel launch"_s, FileKind::folder),
            item(home + u"/Desktop/quorrel launch/ignored.txt"_s),
            item(home + u"/Downloads/$KSTL deck 2024 ff00aa11.pdf"_s, FileKind::pdf),
            item(home + u"/Downloads/invoice -42.pdf"_s, FileKind::pdf),
            item(home + u"/Bureau/ignored too.txt"_s),
        };
        items[3].whereFrom = u"https://www.kstl.example/www.files/deck"_s;
        items[4].whereFrom = u"not an address"_s;
        items[3].text = QString(200, u'k');
        items[3].modified = items[3].modified.addDays(1);
        items[4].text = u"short text that is not enough to count"_s;
        const QString digest = Discovery::digest(items);

        QVERIFY2(digest.startsWith(u"Folder names (file count): quorrel launch (4)\n\n"_s), qPrintable(digest));
        QVERIFY(digest.contains(u"Recurring words in file names (count): "_s));
        const QString words = digest.section(u"(count): "_s, 1, 1).section(u"\n\n"_s, 0, 0);
        for (const QString& word :
             {u"quorrel (2)"_s, u"launch (2)"_s, u"$kstl (1)"_s, u"deck (1)"_s, u"invoice (1)"_s, u"ignored (2)"_s})
            QVERIFY2(words.contains(word), qPrintable(words));
        for (const QString& dropped : {u"img"_s, u"2041"_s, u"final"_s, u"ff00aa11"_s, u"2024"_s, u"-42"_s})
            QVERIFY2(!words.contains(dropped + u" ("_s), qPrintable(dropped));
        QVERIFY(digest.contains(u"Sites files were downloaded from (count): kstl.example (1)\n\n"_s));
        QVERIFY(
            digest.endsWith(u"Text from recent documents:\n- $KSTL deck 2024 ff00aa11.pdf: "_s + QString(140, u'k')));
    }

    void askingAndReading()
    {
        TempHome home;
        FakeClaudeServer server;
        QCOMPARE(Discovery::run(plainItems(home.path(), 19), {}, u"k"_s, u"claude-haiku-5-5"_s).size(), 0);
        QCOMPARE(server.requestCount(), 0);

        server.enqueue(FakeClaudeServer::reply(
            uR"(Here you go: [{"name": " Quorrel ", "aliases": ["qrl", "quorrelcards"], "looks_like": "purple crescent logo", "evidence": "many"}, {"name": "  "}, {"name": "Orvo", "aliases": "orvo app"}] Thanks)"_s));
        const QList<Project> known {{QUuid::createUuid(), u"KSTL"_s, QString()},
                                    {QUuid::createUuid(), u"Nimbus"_s, QString()}};
        const QList<Project> found = Discovery::run(plainItems(home.path(), 20), known, u"k"_s, u"claude-sonnet-5-5"_s);
        QCOMPARE(found.size(), 2);
        QCOMPARE(found[0].name, u"Quorrel"_s);
        QCOMPARE(found[0].aliases, u"quorrelcards"_s);
        QCOMPARE(found[1].aliases, QString());
        QVERIFY(found[0].id != found[1].id && !found[0].id.isNull());
        QCOMPARE(Store::loadNotes(), (QMap<QString, QString> {{u" quorrel "_s, u"purple crescent logo"_s}}));

        const FakeClaudeServer::Request request = server.requests().first();
        QCOMPARE(request.json().value("system"_L1).toString(), Discovery::systemPrompt());
        QCOMPARE(request.json().value("max_tokens"_L1).toInt(), 2000);
        QCOMPARE(request.imageCount(), 0);
        QVERIFY(request.userText().endsWith(u"\n\nProjects they already have: KSTL, Nimbus"_s));
        QVERIFY(!request.userText().contains(u"random sample"_s));

        for (const QString& reply : {u"[]"_s, u"no list"_s, u"[1, 2]"_s, u"[{\"name\": "_s}) {
            server.enqueue(FakeClaudeServer::reply(reply));
            QVERIFY(Discovery::run(plainItems(home.path(), 25), {}, u"k"_s, u"m"_s).isEmpty());
        }
        server.enqueue({401, "{}", 0});
        QVERIFY(Discovery::run(plainItems(home.path(), 25), {}, u"k"_s, u"m"_s).isEmpty());
    }

    void imageSample()
    {
        TempHome home;
        FakeClaudeServer server;
        QList<ScannedItem> items = plainItems(home.path(), 5);
        for (int i = 0; i < 45; ++i) {
            const QString path = home.path() + u"/Desktop/pic %1.png"_s.arg(i);
            FileFactory::png(path, 64, 48, 25000);
            ScannedItem picture = item(path, FileKind::image);
            picture.size = 25000;
            items.append(picture);
        }
        ScannedItem small = item(home.path() + u"/Desktop/small.png"_s, FileKind::image);
        small.size = 20000; // not above the limit: never sampled
        items.append(small);
        QRandomGenerator random(7);
        Discovery::run(items, {}, u"k"_s, u"m"_s, {nullptr, nullptr, &random});
        const FakeClaudeServer::Request request = server.requests().first();
        QCOMPARE(request.imageCount(), 3);
        QVERIFY(request.userText().endsWith(u"\nThe contact sheets above are a random sample of their images."_s));
        const QJsonArray content = request.json().value("messages"_L1)[0]["content"_L1].toArray();
        QCOMPARE(content.size(), 5);
        QCOMPARE(content[1]["source"_L1]["media_type"_L1].toString(), u"image/jpeg"_s);
        const QImage last
            = QImage::fromData(QByteArray::fromBase64(content[3]["source"_L1]["data"_L1].toString().toLatin1()));
        QCOMPARE(last.size(), QSize(1300, 260)); // 45 = 20 + 20 + 5
    }
};

QTEST_MAIN(TestDiscovery)
#include "tst_discovery.moc"
