#include "model/move_record.h"
#include "model/plan_item.h"
#include "model/profile.h"
#include "model/scanned_item.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <QTimeZone>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject parseObject(const char* json)
{
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(json), &error);
    if (error.error != QJsonParseError::NoError)
        qFatal("bad fixture: %s", json);
    return document.object();
}

QJsonObject withValue(QJsonObject object, QLatin1StringView key, const QJsonValue& value)
{
    if (value.isUndefined())
        object.remove(key);
    else
        object.insert(key, value);
    return object;
}

// moc cannot read raw strings that span lines, so each line is its own literal.
const char* const kPlanItem = R"({"id": 7, "src": "file:///Users/ann/Downloads/IMG%201.png",)"
                              R"("destFolder": "Projects/Quorrel/Images", "category": "project:Quorrel",)"
                              R"("confidence": "high", "reason": "card art", "kind": "image", "size": 123456,)"
                              R"("approved": true, "renameApproved": false})";

const char* const kProfile = R"({"onboarded": true, "renameFiles": false, "keepInstallers": true,)"
                             R"("autoTidy": true, "homeBase": "/home/ann/Documents",)"
                             R"("scanFolders": ["Desktop", "Downloads"], "model": "claude-haiku-5-5",)"
                             R"("lastRun": "2026-03-01T09:00:12Z", "projects": [{"id":)"
                             R"("6BA7B810-9DAD-11D1-80B4-00C04FD430C8", "name": "Client/Quorrel", "aliases": "qc"}]})";

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void planItemGroup_data()
    {
        QTest::addColumn<QString>("destFolder");
        QTest::addColumn<QString>("group");
        QTest::newRow("project") << u"Projects/Quorrel/Images"_s << u"Quorrel"_s;
        QTest::newRow("review folder") << u"Brindlow Review/Needs You"_s << u"Needs You"_s;
        QTest::newRow("library") << u"Library/Fonts"_s << u"Library \u00B7 Fonts"_s;
        QTest::newRow("personal") << u"Personal/Receipts"_s << u"Personal"_s;
        QTest::newRow("projects alone") << u"Projects"_s << u"Projects"_s;
        QTest::newRow("library alone") << u"Library"_s << u"Library"_s;
        QTest::newRow("empty") << QString() << u"Other"_s;
        QTest::newRow("only slashes") << u"///"_s << u"Other"_s;
        QTest::newRow("doubled slashes") << u"//Projects//KSTL/"_s << u"KSTL"_s;
    }

    void planItemGroup()
    {
        QFETCH(QString, destFolder);
        QFETCH(QString, group);
        PlanItem item;
        item.destFolder = destFolder;
        QCOMPARE(item.group(), group);
    }

    void projectNamesAndTerms()
    {
        // Only spaces and tabs are trimmed from the display name; the folder trims line breaks too.
        const struct
        {
            QString name, displayName, folderPath;
        } names[] = {
            {u"Client/ Quorrel "_s, u"Quorrel"_s, u"Client/Quorrel"_s},
            {u"Acme: Launch/Ads"_s, u"Ads"_s, u"Acme- Launch/Ads"_s},
            {u" / "_s, QString(), QString()},
            {u"\nNote\t"_s, u"\nNote"_s, u"Note"_s},
        };
        for (const auto& [name, displayName, folderPath] : names) {
            const Project project {QUuid::createUuid(), name, QString()};
            QCOMPARE(project.displayName(), displayName);
            QCOMPARE(project.folderPath(), folderPath);
        }

        // Three user-perceived characters count as three even when they take more UTF-16 units.
        const struct
        {
            QString name, aliases;
            QSet<QString> terms;
        } terms[] = {
            {u"KSTL"_s, u"ks, kstl drinks, "_s, {u"kstl"_s, u"kstl drinks"_s}},
            {u"Client/Quorrel"_s, u"\tQC launch ,qc"_s, {u"client/quorrel"_s, u"quorrel"_s, u"qc launch"_s}},
            {u"ab"_s, u"\U0001F44D\U0001F3FDxy"_s, {u"\U0001F44D\U0001F3FDxy"_s}},
        };
        for (const auto& [name, aliases, expected] : terms)
            QCOMPARE((Project {QUuid::createUuid(), name, aliases}).terms(), expected);
    }

    void scannedItemRelPath()
    {
        ScannedItem item;
        item.url = QUrl::fromLocalFile(u"/Users/ann/Desktop/x.pdf"_s);
        QCOMPARE(item.relPath(u"/Users/ann"_s), u"~/Desktop/x.pdf"_s);
        QCOMPARE(item.relPath(u"/Users/bob"_s), u"/Users/ann/Desktop/x.pdf"_s);
        // A sibling folder that shares the home's text is not inside it.
        QCOMPARE(item.relPath(u"/Users/an"_s), u"/Users/ann/Desktop/x.pdf"_s);
        item.url = QUrl::fromLocalFile(u"/Volumes/Disk/x.pdf"_s);
        QCOMPARE(item.relPath(u"/Users/ann"_s), u"/Volumes/Disk/x.pdf"_s);
    }

    // Plans on disk name kinds by these texts, in the enumeration's order; nothing else passes.
    void fileKindRawTexts()
    {
        const QStringList raw = u"pdf image video audio design doc sheet slides archive installer code font partial "
                                u"bundle project folder other"_s.split(u' ');
        QCOMPARE(raw.size(), int(FileKind::other) + 1);
        for (int code = 0; code < raw.size(); ++code) {
            QCOMPARE(rawValue(static_cast<FileKind>(code)), raw[code]);
            QCOMPARE(fileKindFromRaw(raw[code]), std::optional(static_cast<FileKind>(code)));
        }
        for (const QString& unknown : {u"PDF"_s, u"picture"_s, QString()})
            QCOMPARE(fileKindFromRaw(unknown), std::nullopt);
    }

    // Plans and replies name categories by these texts; anything else is kept as written and
    // left to the person.
    void categoryTexts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("project");
        QTest::addColumn<QString>("tab"); // set aside, undecided or organised
        const QList<QPair<QString, Category::Kind>> filed {{u"creator"_s, Category::creator},
                                                           {u"personal"_s, Category::personal},
                                                           {u"admin"_s, Category::admin},
                                                           {u"library"_s, Category::library},
                                                           {u"archive"_s, Category::archive},
                                                           {u"user"_s, Category::user}};
        for (const auto& [text, kind] : filed)
            QTest::newRow(qPrintable(text)) << text << int(kind) << QString() << u"organised"_s;
        QTest::newRow("junk") << u"junk"_s << int(Category::junk) << QString() << u"set aside"_s;
        QTest::newRow("duplicate") << u"duplicate"_s << int(Category::duplicate) << QString() << u"set aside"_s;
        QTest::newRow("needs-you") << u"needs-you"_s << int(Category::needsYou) << QString() << u"undecided"_s;
        QTest::newRow("project") << u"project:Client/Quorrel"_s << int(Category::project) << u"Client/Quorrel"_s
                                 << u"organised"_s;
        QTest::newRow("project without a name")
            << u"project:"_s << int(Category::project) << QString() << u"organised"_s;
        QTest::newRow("capitalised") << u"Library"_s << int(Category::unknown) << QString() << u"undecided"_s;
        QTest::newRow("capitalised project") << u"Project:X"_s << int(Category::unknown) << QString() << u"undecided"_s;
        QTest::newRow("invented") << u"photos"_s << int(Category::unknown) << QString() << u"undecided"_s;
        QTest::newRow("empty") << QString() << int(Category::unknown) << QString() << u"undecided"_s;
    }

    void categoryTexts()
    {
        QFETCH(QString, text);
        QFETCH(int, kind);
        QFETCH(QString, project);
        QFETCH(QString, tab);
        const Category category = Category::fromText(text);
        QCOMPARE(int(category.kind()), kind);
        QCOMPARE(category.text(), text);
        QCOMPARE(category.projectName(), project);
        QCOMPARE(category.isSetAside()        ? u"set aside"_s
                     : category.isUndecided() ? u"undecided"_s
                                              : u"organised"_s,
                 tab);
        if (kind != Category::unknown && kind != Category::project)
            QCOMPARE(Category(Category::Kind(kind)), category);
        QCOMPARE(Category::forProject(project) == category, kind == Category::project);
    }

    // The known words are the ones replies and older plans use; an unknown one is kept as written.
    void confidenceTexts()
    {
        for (const Confidence::Level level : {Confidence::high, Confidence::medium, Confidence::low})
            QCOMPARE(Confidence::fromText(Confidence(level).text()).level(), level);
        for (const QString& invented : {u"Low"_s, u"very high"_s, QString()}) {
            QCOMPARE(Confidence::fromText(invented).level(), Confidence::unknown);
            QCOMPARE(Confidence::fromText(invented).text(), invented);
        }
        QVERIFY(Confidence::fromText(u"unsure"_s) != Confidence::fromText(u"not sure"_s));
    }

    void profileJson()
    {
        const std::optional<Profile> decoded = Profile::fromJson(parseObject(kProfile));
        QVERIFY(decoded);
        QCOMPARE(decoded->scanFolders, (QStringList {u"Desktop"_s, u"Downloads"_s}));
        QCOMPARE(decoded->lastRun, QDateTime(QDate(2026, 3, 1), QTime(9, 0, 12), Qt::UTC));
        QCOMPARE(decoded->projects.size(), 1);
        QCOMPARE(decoded->projects[0].id, QUuid(u"6ba7b810-9dad-11d1-80b4-00c04fd430c8"_s));

        // Encoding writes canonical texts and decodes back to the same profile.
        const QJsonObject encoded = decoded->toJson();
        QCOMPARE(encoded.value("lastRun"_L1).toString(), u"2026-03-01T09:00:12Z"_s);
        QCOMPARE(encoded.value("projects"_L1)[0]["id"_L1].toString(), u"6BA7B810-9DAD-11D1-80B4-00C04FD430C8"_s);
        QCOMPARE(Profile::fromJson(encoded), decoded);

        // A last run is optional; every other key is required and typed.
        const QJsonObject full = parseObject(kProfile);
        QCOMPARE(Profile::fromJson(withValue(full, "lastRun"_L1, QJsonValue::Undefined))->lastRun, std::nullopt);
        QCOMPARE(Profile::fromJson(withValue(full, "lastRun"_L1, QJsonValue::Null))->lastRun, std::nullopt);
        const QList<QPair<QLatin1StringView, QJsonValue>> wrongTypes {
            {"onboarded"_L1, u"true"_s},
            {"projects"_L1, QJsonObject()},
            {"renameFiles"_L1, 1},
            {"keepInstallers"_L1, u"false"_s},
            {"autoTidy"_L1, QJsonArray()},
            {"homeBase"_L1, 3},
            {"scanFolders"_L1, u"Desktop"_s},
            {"model"_L1, false},
        };
        for (const auto& [key, wrong] : wrongTypes) {
            QVERIFY2(!Profile::fromJson(withValue(full, key, QJsonValue::Undefined)), key.data());
            QVERIFY2(!Profile::fromJson(withValue(full, key, QJsonValue::Null)), key.data());
            QVERIFY2(!Profile::fromJson(withValue(full, key, wrong)), key.data());
        }
        QVERIFY(!Profile::fromJson(withValue(full, "scanFolders"_L1, QJsonArray {u"Desktop"_s, 4})));
        QVERIFY(!Profile::fromJson(withValue(full, "lastRun"_L1, u"yesterday"_s)));
        QVERIFY(!Profile::fromJson(withValue(full, "lastRun"_L1, 1700000000)));
        QVERIFY(!Profile::fromJson(withValue(full, "projects"_L1, QJsonArray {QJsonObject {{"name"_L1, u"x"_s}}})));
        QVERIFY(!Profile::fromJson(QJsonValue(QJsonArray {})));
    }

    void dates()
    {
        Profile profile = Profile::defaults(u"/home/ann"_s);
        // Milliseconds are dropped and other zones are written in UTC.
        const QDateTime berlin(QDate(2026, 3, 1), QTime(10, 0, 12, 987), QTimeZone(3600));
        profile.lastRun = berlin;
        QCOMPARE(profile.toJson().value("lastRun"_L1).toString(), u"2026-03-01T09:00:12Z"_s);

        auto lastRunOf = [](const QString& text) {
            const QJsonObject object = withValue(parseObject(kProfile), "lastRun"_L1, text);
            const std::optional<Profile> decoded = Profile::fromJson(object);
            return decoded ? decoded->lastRun : std::optional<QDateTime>(QDateTime());
        };
        const QDateTime expected(QDate(2026, 3, 1), QTime(9, 0, 12), Qt::UTC);
        QCOMPARE(lastRunOf(u"2026-03-01T10:00:12+01:00"_s), expected);
        QCOMPARE(lastRunOf(u"2026-03-01T09:00:12.5Z"_s), expected);
        // Without a zone the moment is unknown; impossible dates are not dates.
        for (const QString& bad : {u"2026-03-01T09:00:12"_s,
                                   u"2026-02-30T09:00:12Z"_s,
                                   u"2026-03-01T24:00:00Z"_s,
                                   u"2026-03-01 09:00:12Z"_s,
                                   u"2026-03-01T09:00Z"_s,
                                   u"\u0662026-03-01T09:00:12Z"_s}) {
            QVERIFY2(lastRunOf(bad) == std::optional<QDateTime>(QDateTime()), qPrintable(bad));
        }
    }

    void planItemJson()
    {
        const QJsonObject full = parseObject(kPlanItem);
        const std::optional<PlanItem> item = PlanItem::fromJson(full);
        QVERIFY(item);
        QCOMPARE(item->src.toLocalFile(), u"/Users/ann/Downloads/IMG 1.png"_s);
        QCOMPARE(item->newName, std::nullopt);
        QCOMPARE(item->kind, FileKind::image);

        // Optional keys are left out when absent and round-trip when present.
        QVERIFY(!item->toJson().contains("newName"_L1));
        QVERIFY(!item->toJson().contains("suggestedProject"_L1));
        QVERIFY(!item->toJson().contains("keptCopy"_L1));
        QCOMPARE(item->toJson().value("src"_L1).toString(), u"file:///Users/ann/Downloads/IMG%201.png"_s);
        PlanItem renamed = *item;
        renamed.newName = u"Quorrel card #2.png"_s;
        renamed.suggestedProject = u"Fernway"_s;
        renamed.keptCopy = u"/home/ann/Documents/Debian Policy.epub"_s;
        renamed.size = Q_INT64_C(9007199254740993); // beyond the exact range of a double
        renamed.src = QUrl::fromLocalFile(u"/home/ann/Téléchargements/50% off?.pdf"_s);
        QCOMPARE(PlanItem::fromJson(QJsonDocument::fromJson(QJsonDocument(renamed.toJson()).toJson()).object()),
                 renamed);

        QCOMPARE(PlanItem::fromJson(withValue(full, "newName"_L1, QJsonValue::Null))->newName, std::nullopt);
        QCOMPARE(PlanItem::fromJson(withValue(full, "size"_L1, 2.0))->size, 2);

        const QList<QPair<QLatin1StringView, QJsonValue>> broken {
            {"id"_L1, QJsonValue::Undefined},
            {"id"_L1, u"7"_s},
            {"size"_L1, 2.5},
            {"size"_L1, 1e30},
            {"approved"_L1, 1},
            {"kind"_L1, u"picture"_s},
            {"kind"_L1, u"Image"_s},
            {"newName"_L1, 5},
            {"reason"_L1, QJsonValue::Null},
            {"src"_L1, u"https://example.com/a.png"_s},
            {"src"_L1, u"Downloads/a.png"_s},
            {"src"_L1, u"file:relative/a.png"_s},
            {"src"_L1, u"file:///bad%zzpath"_s},
        };
        for (const auto& [key, value] : broken) {
            QVERIFY2(!PlanItem::fromJson(withValue(full, key, value)),
                     qPrintable(key + u" = "_s + QString::fromUtf8(QJsonDocument(QJsonArray {value}).toJson())));
        }
    }

    void moveRecordJson()
    {
        const MoveRecord record {u"/home/ann/Downloads/a b.pdf"_s,
                                 u"/home/ann/Documents/Personal/a b.pdf"_s,
                                 QDateTime(QDate(2025, 3, 9), QTime(8, 15, 2), Qt::UTC)};
        const QJsonObject encoded = record.toJson();
        QCOMPARE(encoded.value("at"_L1).toString(), u"2025-03-09T08:15:02Z"_s);
        QCOMPARE(MoveRecord::fromJson(encoded), record);
        QVERIFY(!MoveRecord::fromJson(withValue(encoded, "at"_L1, QJsonValue::Undefined)));
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
