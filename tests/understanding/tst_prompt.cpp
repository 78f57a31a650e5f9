#include "model/store.h"
#include "support/temp_home.h"
#include "understanding/prompt.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QString fixture(const QString& name)
{
    QFile file(QStringLiteral(BRINDLOW_TEST_DATA) + u'/' + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return QString::fromUtf8(file.readAll());
}

ScannedItem item(qint64 id, const QString& path)
{
    ScannedItem scanned;
    scanned.id = id;
    scanned.url = QUrl::fromLocalFile(path);
    scanned.name = path.section(u'/', -1);
    scanned.kind = FileKind::pdf;
    scanned.size = 1536;
    scanned.modified = QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::LocalTime);
    return scanned;
}

} // namespace

class TestPrompt : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void systemPrompt()
    {
        TempHome home;
        Profile profile = Profile::defaults(home.path());
        QCOMPARE(Prompt::system(profile), fixture(u"system_prompt_no_projects.txt"_s));

        profile.projects = {{QUuid::createUuid(), u"Quorrel"_s, u"quorrelcards, shinefold"_s},
                            {QUuid::createUuid(), u"Clients/KSTL"_s, QString()},
                            {QUuid::createUuid(), u"Orvo"_s, u"orvo app"_s}};
        // Notes are found under the lower-cased name; the notes of other names stay out.
        Store::saveNotes({{u"quorrel"_s, u"holographic trading card art"_s}, {u"Orvo"_s, u"not used: wrong case"_s}});
        for (int i = 0; i < 55; ++i)
            Store::addLesson({u"file %1.png"_s.arg(i), u"receipt %1"_s.arg(i), u"Personal/Finance & Receipts"_s});
        QCOMPARE(Prompt::system(profile), fixture(u"system_prompt_projects_lessons.txt"_s));

        // A damaged lessons file is the same as none.
        home.writeFile(u".local/share/Brindlow/lessons.json"_s, "[{\"name\": 1}]");
        QCOMPARE(Prompt::lessonsText(), QString());
    }

    void descriptions()
    {
        TempHome home;
        ScannedItem report = item(7, home.path() + u"/Downloads/report \"final\".pdf"_s);
        QJsonObject described = QJsonDocument::fromJson(Prompt::describe(report).toUtf8()).object();
        QCOMPARE(described,
                 (QJsonObject {{"id"_L1, 7},
                               {"path"_L1, u"~/Downloads/report \"final\".pdf"_s},
                               {"kind"_L1, u"pdf"_s},
                               {"size_kb"_L1, 1},
                               {"modified"_L1, u"2026-03-01"_s}}));
        QVERIFY(!Prompt::describe(report).contains(u'\n'));

        report.text = QString(1000, u'a');
        report.whereFrom = u"https://example.org/r.pdf"_s;
        report.size = 1023;
        described = QJsonDocument::fromJson(Prompt::describe(report).toUtf8()).object();
        QCOMPARE(described.value("text"_L1).toString(), QString(450, u'a'));
        QCOMPARE(described.value("downloaded_from"_L1).toString(), u"https://example.org/r.pdf"_s);
        QCOMPARE(described.value("size_kb"_L1).toInt(), 0);
        report.text = QString();
        QVERIFY(!QJsonDocument::fromJson(Prompt::describe(report).toUtf8()).object().contains("text"_L1));

        const QString batch = Prompt::textBatch({item(1, u"/x/a.pdf"_s), item(2, u"/x/b.pdf"_s)});
        QVERIFY(batch.startsWith(u"Files, one JSON object per line:\n{"_s));
        QCOMPARE(batch.count(u'\n'), 2);

        ScannedItem photo = item(12, home.path() + u"/Desktop/IMG_1.jpg"_s);
        photo.kind = FileKind::image;
        photo.whereFrom = u"https://example.org/p"_s;
        QCOMPARE(
            Prompt::sheetListing({item(3, u"/x/a.pdf"_s), photo}),
            u"This contact sheet shows these files; each tile is labeled with its number:\n"
            u"#1 = id 3: /x/a.pdf (pdf, modified 2026-03-01)\n"
            u"#2 = id 12: ~/Desktop/IMG_1.jpg (image, modified 2026-03-01), downloaded from https://example.org/p"_s);
    }

    void replies()
    {
        Decisions parsed
            = Prompt::parse(uR"(Sure! [{"id": 3, "category": " library ", "confidence": "medium"}] Hope this helps)"_s);
        QCOMPARE(parsed.size(), 1);
        QCOMPARE(parsed[3],
                 (Decision {Category::library,
                            std::nullopt,
                            Confidence::medium,
                            std::nullopt,
                            QString(),
                            std::nullopt,
                            Provenance::model}));

        parsed
            = Prompt::parse(uR"([{"id": 4.9, "category": "admin", "sub": 5, "new_name": null, "project_hint": "Nimbus",
            "reason": "tax form"}, {"id": "5", "category": "admin"}, {}, {"id": 6}, {"id": 4, "category": "personal\n"},
            {"id": 7, "category": "creator", "confidence": 1}])"_s);
        QCOMPARE(parsed.keys().size(), 2);
        QCOMPARE(parsed[4].category.text(), u"personal\n"_s); // a later object replaces an earlier one
        QCOMPARE(parsed[7].confidence.text(), u"low"_s);
        QCOMPARE(parsed[7].reason, QString());

        for (const QString& reply : {u"[1, 2] and [3]"_s,
                                     u"[{\"id\": 1, \"category\": \"admin\"}] and [{\"id\": 2}]"_s,
                                     u"no array here"_s,
                                     u"] backwards ["_s,
                                     u"[{\"id\": 1, \"category\": \"admin\""_s,
                                     u"[{\"id\": 1, \"category\": \"admin\"}, 5]"_s}) {
            QVERIFY2(Prompt::parse(reply).isEmpty(), qPrintable(reply));
        }

        // A long reply of many decisions, and one cut off by the token limit.
        QString huge = u"["_s;
        for (int i = 0; i < 5000; ++i)
            huge += u"{\"id\": %1, \"category\": \"library\", \"reason\": \"%2\"},"_s.arg(i).arg(QString(50, u'r'));
        huge.chop(1);
        QCOMPARE(Prompt::parse(huge + u']').size(), 5000);
        QVERIFY(Prompt::parse(huge).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestPrompt)
#include "tst_prompt.moc"
