#include "planning/naming.h"
#include "planning/rules.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

ScannedItem item(const QString& path, FileKind kind, const QList<JunkHint>& hints = {})
{
    ScannedItem scanned;
    scanned.url = QUrl::fromLocalFile(path);
    scanned.name = path.section(u'/', -1);
    scanned.kind = kind;
    scanned.junkHints = hints;
    return scanned;
}

} // namespace

class TestRulesNaming : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void junkRuleOrder()
    {
        auto category = [](const ScannedItem& scanned, bool keepInstallers = false) {
            const std::optional<Decision> decision = Rules::junkDecision(scanned, keepInstallers);
            return decision ? decision->category.text() + u'|' + decision->sub.value_or(u"-"_s) : u"none"_s;
        };
        QCOMPARE(category(item(u"/h/a.pdf"_s, FileKind::pdf, {JunkHint::exactDuplicate})), u"duplicate|-"_s);
        QCOMPARE(category(item(u"/h/a.pdf"_s, FileKind::pdf, {JunkHint::emptyFile})), u"none"_s);
        QCOMPARE(category(item(u"/h/setup.dmg"_s, FileKind::installer, {JunkHint::installer})), u"junk|Installers"_s);
        QCOMPARE(category(item(u"/h/setup.dmg"_s, FileKind::installer, {JunkHint::installer}), true), u"none"_s);
        QCOMPARE(category(item(u"/h/photos.zip"_s,
                               FileKind::archive,
                               {JunkHint::alreadyExtractedArchive, JunkHint::exactDuplicate})),
                 u"duplicate|-"_s);
        QCOMPARE(category(item(u"/h/photos.zip"_s, FileKind::archive, {JunkHint::alreadyExtractedArchive})),
                 u"junk|Already unzipped"_s);
        QCOMPARE(category(item(u"/h/x.part"_s, FileKind::partial, {JunkHint::partialDownload, JunkHint::emptyFile})),
                 u"junk|Unfinished downloads"_s);
        QCOMPARE(category(item(u"/h/x.txt"_s, FileKind::other, {JunkHint::emptyFile})), u"junk|Empty files"_s);
        QCOMPARE(category(item(u"/h/s.png"_s, FileKind::image, {JunkHint::screenshotName, JunkHint::tinyImage})),
                 u"none"_s);

        const Decision duplicate
            = *Rules::junkDecision(item(u"/h/a.pdf"_s, FileKind::pdf, {JunkHint::exactDuplicate}), false);
        QCOMPARE(duplicate.reason, u"Exact copy of a file you're keeping"_s);
        QCOMPARE(duplicate.confidence, Confidence(Confidence::high));
        QVERIFY(!duplicate.newName && !duplicate.projectHint);
    }

    void keywordRule()
    {
        const QList<Project> projects {{QUuid::createUuid(), u"Quorrel"_s, u"quorrelcards"_s},
                                       {QUuid::createUuid(), u"Orvo"_s, QString()},
                                       {QUuid::createUuid(), u"AB"_s, QString()}};
        ScannedItem logo = item(QDir::homePath() + u"/Downloads/quorrelcards-logo.png"_s, FileKind::image);
        std::optional<Decision> decision = Rules::keywordDecision(logo, projects);
        QVERIFY(decision);
        QCOMPARE(decision->category.text(), u"project:Quorrel"_s);
        QCOMPARE(decision->reason, u"Matched Quorrel in its name or folder"_s);

        ScannedItem memo = item(u"/h/memo.txt"_s, FileKind::doc);
        memo.text = u"Notes for the ORVO launch"_s;
        decision = Rules::keywordDecision(memo, projects);
        QCOMPARE(decision->category.text(), u"project:Orvo"_s);
        QCOMPARE(decision->reason, u"Mentions Orvo in its text"_s);

        memo.whereFrom = u"https://quorrel.example/brief"_s;
        QVERIFY(!Rules::keywordDecision(memo, projects)); // two projects match
        QVERIFY(!Rules::keywordDecision(item(u"/h/about.txt"_s, FileKind::doc), projects)); // "ab" is too short
        QVERIFY(!Rules::keywordDecision(logo, {}));
    }

    // What the rules settle in a refresh, and what they leave for the model.
    void triage_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<FileKind>("kind");
        QTest::addColumn<QList<JunkHint>>("hints");
        QTest::addColumn<TidyMode>("mode");
        QTest::addColumn<bool>("renameFiles");
        QTest::addColumn<QString>("decided"); // the category, or empty for none
        QTest::addColumn<bool>("asked");
        const QList<JunkHint> none;
        const TidyMode quick = TidyMode::quick;
        const TidyMode junkOnly = TidyMode::junkOnly;
        QTest::newRow("unfinished download")
            << u"/h/Downloads/movie.mp4.part"_s << FileKind::partial << QList<JunkHint> {JunkHint::partialDownload}
            << quick << true << u"junk"_s << false;
        QTest::newRow("project by name, name says nothing") << u"/h/Downloads/quorrel/IMG_1234.png"_s << FileKind::image
                                                            << none << quick << true << u"project:Quorrel"_s << true;
        QTest::newRow("the same, renaming off") << u"/h/Downloads/quorrel/IMG_1234.png"_s << FileKind::image << none
                                                << quick << false << u"project:Quorrel"_s << false;
        QTest::newRow("project by name, telling name") << u"/h/Downloads/quorrel/launch plan.txt"_s << FileKind::doc
                                                       << none << quick << true << u"project:Quorrel"_s << false;
        QTest::newRow("project by name, a folder") << u"/h/Downloads/quorrel/IMG_1"_s << FileKind::folder << none
                                                   << quick << true << u"project:Quorrel"_s << false;
        QTest::newRow("document") << u"/h/Desktop/notes.txt"_s << FileKind::doc << none << quick << true << QString()
                                  << true;
        QTest::newRow("folder") << u"/h/Desktop/Photos"_s << FileKind::folder << none << quick << true << QString()
                                << true;
        QTest::newRow("application") << u"/h/Downloads/Tool.app"_s << FileKind::bundle << none << quick << true
                                     << QString() << false;
        QTest::newRow("junk only: duplicate")
            << u"/h/Desktop/a.pdf"_s << FileKind::pdf << QList<JunkHint> {JunkHint::exactDuplicate} << junkOnly << true
            << u"duplicate"_s << false;
        QTest::newRow("junk only: photo")
            << u"/h/Desktop/holiday.png"_s << FileKind::image << none << junkOnly << true << QString() << false;
        QTest::newRow("junk only: screenshot")
            << u"/h/Desktop/Screenshot 1.png"_s << FileKind::image << QList<JunkHint> {JunkHint::screenshotName}
            << junkOnly << true << QString() << true;
        QTest::newRow("junk only: tiny image")
            << u"/h/Desktop/icon.png"_s << FileKind::image << QList<JunkHint> {JunkHint::tinyImage} << junkOnly << true
            << QString() << true;
        QTest::newRow("junk only: screenshot as a document")
            << u"/h/Desktop/Screenshot 2.pdf"_s << FileKind::pdf << QList<JunkHint> {JunkHint::screenshotName}
            << junkOnly << true << QString() << false;
        QTest::newRow("junk only: project by name") << u"/h/Downloads/quorrel/IMG_1234.png"_s << FileKind::image << none
                                                    << junkOnly << true << QString() << false;
    }

    void triage()
    {
        QFETCH(QString, path);
        QFETCH(FileKind, kind);
        QFETCH(QList<JunkHint>, hints);
        QFETCH(TidyMode, mode);
        QFETCH(bool, renameFiles);
        QFETCH(QString, decided);
        QFETCH(bool, asked);
        Profile profile = Profile::defaults(u"/h"_s);
        profile.projects = {{QUuid::createUuid(), u"Quorrel"_s, QString()}};
        profile.renameFiles = renameFiles;
        ScannedItem scanned = item(path, kind, hints);
        scanned.id = 7;
        scanned.isDir = kind == FileKind::folder || kind == FileKind::bundle || kind == FileKind::project;
        const Rules::Triage result = Rules::triage({scanned}, profile, mode);
        QCOMPARE(result.decisions.value(7).category.text(), decided);
        QCOMPARE(result.decisions.size(), decided.isEmpty() ? 0 : 1);
        QCOMPARE(result.toAsk.size(), asked ? 1 : 0);
    }

    void triageAsksInTheItemsOrder()
    {
        const Profile profile = Profile::defaults(u"/h"_s);
        QList<ScannedItem> items {item(u"/h/Desktop/b.txt"_s, FileKind::doc),
                                  item(u"/h/Desktop/empty.bin"_s, FileKind::other, {JunkHint::emptyFile}),
                                  item(u"/h/Desktop/a.txt"_s, FileKind::doc)};
        for (qsizetype i = 0; i < items.size(); ++i)
            items[i].id = i;
        const Rules::Triage result = Rules::triage(items, profile, TidyMode::deep);
        QCOMPARE(result.toAsk, (QList<ScannedItem> {items[0], items[2]}));
        QCOMPARE(result.decisions.keys(), QList<qint64> {1});
    }

    void meaninglessNames()
    {
        const QStringList meaningless = u"IMG_4032.HEIC|DSC-0012.jpg|PXL_20240101_120000.jpg|Untitled design.png|"
                                        u"image (3).png|download.pdf|1920x1080.png|"
                                        u"3f2a9c1b-77de-4e1c-9a0b-2c5d6e7f8a90.png|20240501_101010.jpg|"
                                        u"Screen Shot 2024-01-01.png|final version.docx|Copy of budget.xlsx|"
                                        u"file (2).txt|+.png|unnamed"_s.split(u'|');
        for (const QString& name : meaningless)
            QVERIFY2(Naming::isMeaningless(name), qPrintable(name));
        for (const QString& name :
             u"image of the team.png|invoice-march.pdf|exported.csv|files.zip|my IMG_1.png"_s.split(u'|'))
            QVERIFY2(!Naming::isMeaningless(name), qPrintable(name));
    }

    void sanitizedNames()
    {
        QCOMPARE(Naming::sanitize(u"Q3: Budget/Plan"_s, u"xlsx"_s), u"Q3- Budget-Plan.xlsx"_s);
        QCOMPARE(Naming::sanitize(u"..hidden"_s, u"txt"_s), u"hidden.txt"_s);
        QCOMPARE(Naming::sanitize(u"Report.PDF"_s, u"pdf"_s), u"Report.PDF"_s);
        QCOMPARE(Naming::sanitize(u"   "_s, u"pdf"_s), std::nullopt);
        QCOMPARE(Naming::sanitize(u"..."_s, u"pdf"_s), std::nullopt);
        QCOMPARE(Naming::sanitize(u"Notes"_s, QString()), u"Notes"_s);
        QCOMPARE(Naming::sanitize(QString(200, u'a'), u"pdf"_s), QString(120, u'a') + u".pdf"_s);
        // Hostile replies: line breaks and control characters never reach a file name.
        QCOMPARE(Naming::sanitize(u"Team\noffsite\u0000day 1"_s, u"jpg"_s), u"Team offsite day 1.jpg"_s);
        QCOMPARE(Naming::sanitize(u"\U0001F600"_s.repeated(130), u"png"_s), u"\U0001F600"_s.repeated(120) + u".png"_s);
        // A right-to-left override would make "invoice\u202Efdp.exe" read as "invoiceexe.pdf".
        QCOMPARE(Naming::sanitize(u"invoice\u202Efdp.exe"_s, u"exe"_s), u"invoicefdp.exe"_s);
    }

    // Cut to what the file system takes, never inside a character: an "e" and its accent are three bytes.
    void folderNamesKeepCharactersWhole()
    {
        QCOMPARE(Naming::folderName(u". .hidden"_s), u"hidden"_s);
        QCOMPARE(Naming::folderName(u"\n\t\u202E"_s), std::nullopt);
        QCOMPARE(Naming::folderName(u"e\u0301"_s.repeated(100)), u"e\u0301"_s.repeated(85));
    }
};

QTEST_GUILESS_MAIN(TestRulesNaming)
#include "tst_rules_naming.moc"
