#include "planning/planner.h"
#include "planning/user_rules.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kBase = u"/home/ann/Documents"_s;

ScannedItem item(qint64 id, const QString& path, FileKind kind, bool isDir = false)
{
    ScannedItem scanned;
    scanned.id = id;
    scanned.url = QUrl::fromLocalFile(path);
    scanned.name = path.section(u'/', -1);
    scanned.kind = kind;
    scanned.isDir = isDir;
    scanned.size = 100 + id;
    scanned.modified = QDateTime(QDate(2021, 6, 1), QTime(12, 0), Qt::LocalTime);
    return scanned;
}

Decision decided(const QString& category, std::optional<QString> sub = {}, const QString& confidence = u"high"_s)
{
    return Decision {Category::fromText(category),
                     std::move(sub),
                     Confidence::fromText(confidence),
                     std::nullopt,
                     u"the model's reason"_s,
                     std::nullopt};
}

Profile profile()
{
    Profile result = Profile::defaults(u"/home/ann"_s);
    result.projects
        = {{QUuid::createUuid(), u"Clients/Quorrel"_s, u"qc"_s}, {QUuid::createUuid(), u"KSTL"_s, QString()}};
    return result;
}

} // namespace

class TestPlanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void destinations_data()
    {
        QTest::addColumn<QString>("category");
        QTest::addColumn<QString>("sub");
        QTest::addColumn<FileKind>("kind");
        QTest::addColumn<QString>("folder");
        QTest::newRow("list spelling") << u"creator"_s << u"thumbnails"_s << FileKind::image << u"Creator/Thumbnails"_s;
        QTest::newRow("new sub-folder") << u"creator"_s << u"Stream Overlays Pack"_s << FileKind::image
                                        << u"Creator/Stream Overlays Pack"_s;
        QTest::newRow("too many words") << u"creator"_s << u"my very long new folder name for stuff"_s
                                        << FileKind::image << u"Creator/Other"_s;
        QTest::newRow("no letter") << u"creator"_s << u"2024"_s << FileKind::image << u"Creator/Other"_s;
        QTest::newRow("colon") << u"creator"_s << u"raw: take 2"_s << FileKind::video << u"Creator/Raw- take 2"_s;
        QTest::newRow("capitalised") << u"personal"_s << u"pets"_s << FileKind::image << u"Personal/Pets"_s;
        QTest::newRow("project by last piece")
            << u"project:quorrel"_s << QString() << FileKind::video << u"Projects/Clients/Quorrel/Video"_s;
        QTest::newRow("project sub") << u"project:KSTL"_s << u"brand assets"_s << FileKind::image
                                     << u"Projects/KSTL/Brand Assets"_s;
        QTest::newRow("project folder") << u"project:KSTL"_s << QString() << FileKind::folder
                                        << u"Projects/KSTL/Folders"_s;
        QTest::newRow("project zip") << u"project:KSTL"_s << QString() << FileKind::archive << u"Projects/KSTL/Other"_s;
        QTest::newRow("unknown project") << u"project:Unknown Co"_s << QString() << FileKind::pdf
                                         << u"Brindlow Review/Needs You"_s;
        QTest::newRow("admin") << u"admin"_s << u"Taxes"_s << FileKind::pdf << u"Work Admin"_s;
        QTest::newRow("archive year") << u"archive"_s << QString() << FileKind::pdf << u"Archive/2021"_s;
        QTest::newRow("junk sub") << u"junk"_s << u" Old installers: 2023 "_s << FileKind::installer
                                  << u"Brindlow Review/To Delete - Review First/Old installers- 2023"_s;
        QTest::newRow("junk default") << u"junk"_s << QString() << FileKind::image
                                      << u"Brindlow Review/To Delete - Review First/Screenshots & images"_s;
        QTest::newRow("duplicate") << u"duplicate"_s << QString() << FileKind::image
                                   << u"Brindlow Review/Duplicates - Review First"_s;
        QTest::newRow("anything else") << u"Creator"_s << QString() << FileKind::image
                                       << u"Brindlow Review/Needs You"_s;
    }

    void destinations()
    {
        QFETCH(QString, category);
        QFETCH(QString, sub);
        QFETCH(FileKind, kind);
        QFETCH(QString, folder);
        const std::optional<QString> optionalSub = sub.isNull() ? std::nullopt : std::optional(sub);
        QCOMPARE(
            Planner::destination(decided(category, optionalSub), item(1, u"/home/ann/Downloads/x"_s, kind), profile()),
            folder);
    }

    // The rule the planner files a project's items by, and the one the review files them by when
    // the person names a project: a typed name, ":" and all, or a known project's folder path.
    void projectFolders_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<FileKind>("kind");
        QTest::addColumn<QString>("sub");
        QTest::addColumn<QString>("folder"); // empty: no usable folder
        QTest::newRow("by kind") << u"Quorrel"_s << FileKind::image << QString() << u"Projects/Quorrel/Images"_s;
        QTest::newRow("typed with a colon")
            << u" Acme: Ads "_s << FileKind::pdf << QString() << u"Projects/Acme- Ads/Docs"_s;
        QTest::newRow("new sub-folder") << u"KSTL"_s << FileKind::image << u"Launch Teasers"_s
                                        << u"Projects/KSTL/Launch Teasers"_s;
        QTest::newRow("only a slash") << u" / "_s << FileKind::image << QString() << QString();
        QTest::newRow("climbs out") << u"../.."_s << FileKind::image << QString() << QString();
    }

    void projectFolders()
    {
        QFETCH(QString, name);
        QFETCH(FileKind, kind);
        QFETCH(QString, sub);
        QFETCH(QString, folder);
        const std::optional<QString> optionalSub = sub.isNull() ? std::nullopt : std::optional(sub);
        QCOMPARE(Planner::projectFolder(name, kind, optionalSub).value_or(QString()), folder);
    }

    void hostileFolderNames_data()
    {
        QTest::addColumn<QString>("category");
        QTest::addColumn<QString>("sub");
        QTest::addColumn<QString>("projectName");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("yoursToPlace");
        const QString junk = u"Brindlow Review/To Delete - Review First/"_s;
        const QString needsYou = u"Brindlow Review/Needs You"_s;
        QTest::newRow("line break") << u"creator"_s << u"Raw\nFootage"_s << QString() << u"Creator/Raw Footage"_s
                                    << false;
        QTest::newRow("tabs") << u"personal"_s << u"\tpets\tand\tvets"_s << QString() << u"Personal/Pets and vets"_s
                              << false;
        QTest::newRow("leading dots") << u"library"_s << u"...hidden"_s << QString() << u"Library/Hidden"_s << false;
        QTest::newRow("climbs out") << u"creator"_s << u"../../Desktop/x"_s << QString() << u"Creator/-..-Desktop-x"_s
                                    << false;
        QTest::newRow("junk climbs out") << u"junk"_s << u"../../../tmp"_s << QString() << junk + u"-..-..-tmp"_s
                                         << false;
        QTest::newRow("junk nothing left") << u"junk"_s << u"\n..\t"_s << QString() << needsYou << true;
        QTest::newRow("junk very long") << u"junk"_s << u"\u00E9"_s.repeated(300) << QString()
                                        << junk + u"\u00E9"_s.repeated(127) << false;
        QTest::newRow("project climbs out")
            << u"project:x"_s << QString() << u"../../../../tmp/x"_s << needsYou << true;
        QTest::newRow("project of dots") << u"project:.."_s << QString() << u"Clients/.."_s << needsYou << true;
        QTest::newRow("project with line break") << u"project:.launch"_s << QString() << u"Acme\nBrand/.launch"_s
                                                 << u"Projects/Acme Brand/launch/Other"_s << false;
        // A folder the person chose, from a rules file that may have been edited by hand.
        QTest::newRow("chosen folder") << u"user"_s << u"Library//Torrents/"_s << QString() << u"Library/Torrents"_s
                                       << false;
        QTest::newRow("chosen folder climbs out")
            << u"user"_s << u"Library/../../../etc"_s << QString() << needsYou << true;
        QTest::newRow("chosen folder of dots") << u"user"_s << u"../.."_s << QString() << needsYou << true;
        QTest::newRow("no chosen folder") << u"user"_s << QString() << QString() << needsYou << true;
    }

    void hostileFolderNames()
    {
        QFETCH(QString, category);
        QFETCH(QString, sub);
        QFETCH(QString, projectName);
        QFETCH(QString, folder);
        QFETCH(bool, yoursToPlace);
        Profile hostile = profile();
        if (!projectName.isEmpty())
            hostile.projects.append(Project {QUuid::createUuid(), projectName, QString()});
        const std::optional<QString> optionalSub = sub.isNull() ? std::nullopt : std::optional(sub);
        const QList<PlanItem> plan = Planner::plan(
            {item(0, u"/home/ann/Downloads/x.bin"_s, FileKind::other)}, {{0, decided(category, optionalSub)}}, hostile);
        QCOMPARE(plan.size(), 1);
        QCOMPARE(plan[0].destFolder, folder);
        QCOMPARE(plan[0].category == Category::needsYou, yoursToPlace);
        QCOMPARE(plan[0].approved, !yoursToPlace);
        QCOMPARE(plan[0].reason.endsWith(u"can't be used as a folder name, so this one is yours to place"_s),
                 yoursToPlace);
    }

    void planRules()
    {
        const QList<ScannedItem> items {
            item(0, u"/home/ann/Downloads/report.pdf"_s, FileKind::pdf),
            item(1, u"/home/ann/Desktop/note.txt"_s, FileKind::doc),
            item(2, u"/home/ann/Desktop/IMG_2041.JPG"_s, FileKind::image),
            item(3, u"/home/ann/Desktop/Quarterly report.pdf"_s, FileKind::pdf),
            item(4, kBase + u"/Personal/Photos/IMG_1.jpg"_s, FileKind::image),
            item(5, kBase + u"/Personal/Photos/IMG_2.jpg"_s, FileKind::image),
            item(6, u"/home/ann/Desktop/IMG_3.png"_s, FileKind::image),
            item(7, u"/home/ann/Desktop/lib.png"_s, FileKind::image),
            item(8, u"/home/ann/Desktop/IMG_4.png"_s, FileKind::image),
        };
        Decisions decisions;
        decisions[0] = decided(u"junk"_s);
        decisions[1] = decided(u"personal"_s, std::nullopt, u"low"_s);
        decisions[2] = decided(u"personal"_s, u"Photos"_s);
        decisions[2].newName = u"Team offsite: day 1"_s;
        decisions[2].projectHint = u"Nimbus Labs"_s;
        decisions[3] = decided(u"admin"_s);
        decisions[3].newName = u"Something else"_s;
        decisions[3].projectHint = u"quorrel"_s;
        decisions[4] = decided(u"personal"_s, u"Photos"_s); // already where it belongs
        decisions[5] = decisions[4];
        decisions[5].newName = u"Beach"_s;
        decisions[6] = decided(u"junk"_s);
        decisions[6].newName = u"Never"_s;
        decisions[7] = decided(u"library"_s, u"memes"_s, u"low"_s);
        decisions[8] = decided(u"project:Nobody"_s);
        decisions[8].projectHint = u"Qc"_s;
        decisions[99] = decided(u"admin"_s); // names no item

        const QList<PlanItem> plan = Planner::plan(items, decisions, profile());
        QHash<qint64, PlanItem> byId;
        for (const PlanItem& planned : plan)
            byId.insert(planned.id, planned);
        QCOMPARE(byId.size(), 8);
        QVERIFY(!byId.contains(4));

        QCOMPARE(byId[0].category.text(), u"needs-you"_s);
        QCOMPARE(byId[0].destFolder, u"Brindlow Review/Needs You"_s);
        QCOMPARE(byId[0].reason, u"Protected file type, never treated as junk"_s);
        QCOMPARE(byId[0].confidence.text(), u"low"_s);
        QVERIFY(!byId[0].approved);

        QCOMPARE(byId[1].category.text(), u"needs-you"_s);
        QCOMPARE(byId[1].reason, u"Best guess: the model's reason"_s);
        QCOMPARE(byId[1].destFolder, u"Brindlow Review/Needs You"_s);

        QCOMPARE(byId[2].newName, u"Team offsite- day 1.JPG"_s);
        QCOMPARE(byId[2].suggestedProject, u"Nimbus Labs"_s);
        QVERIFY(byId[2].approved && byId[2].renameApproved);
        QCOMPARE(byId[2].src, items[2].url);
        QCOMPARE(byId[2].size, 102);
        QCOMPARE(byId[3].newName, std::nullopt);
        QCOMPARE(byId[3].suggestedProject, std::nullopt);
        QCOMPARE(byId[5].newName, u"Beach.jpg"_s);
        QCOMPARE(byId[6].newName, std::nullopt);
        QCOMPARE(byId[7].category.text(), u"library"_s);
        QCOMPARE(byId[7].destFolder, u"Library/Memes"_s);
        QCOMPARE(byId[8].category.text(), u"needs-you"_s);
        QCOMPARE(byId[8].suggestedProject, std::nullopt);

        for (qsizetype i = 1; i < plan.size(); ++i) {
            const auto key = [](const PlanItem& p) { return std::pair(p.destFolder, p.src.fileName()); };
            QVERIFY(key(plan[i - 1]) <= key(plan[i]));
        }

        Profile noRenames = profile();
        noRenames.renameFiles = false;
        for (const PlanItem& planned : Planner::plan(items, decisions, noRenames))
            QCOMPARE(planned.newName, std::nullopt);
    }

    // What the person's own rules decided: their folder as it stands, approved, the file's own
    // name kept, and the rule named on the item, which also carries the site it came from.
    void ownRules()
    {
        UserRule torrents {.id = u"r1"_s, .name = u"*.torrent"_s, .to = u"Library/Torrents"_s};
        UserRule junk {.id = u"r2"_s, .name = u"*.zip"_s, .action = UserRule::Action::junk};
        UserRule inPlace {.id = u"r3"_s, .name = u"*.md"_s, .to = u"Notes"_s};
        QList<ScannedItem> items {
            item(0, u"/home/ann/Downloads/IMG_2041.torrent"_s, FileKind::other),
            item(1, u"/home/ann/Downloads/old.zip"_s, FileKind::archive),
            item(2, kBase + u"/Notes/todo.md"_s, FileKind::doc),
            item(3, u"/home/ann/Downloads/letter.txt"_s, FileKind::doc),
        };
        items[0].whereFrom = u"https://Tracker.Example.org/get?id=7"_s;
        items[3].whereFrom = u"https://mail.example.com/attachment"_s;
        Decisions decisions {{0, UserRules::decision(torrents)},
                             {1, UserRules::decision(junk)},
                             {2, UserRules::decision(inPlace)},
                             {3, decided(u"personal"_s, u"Letters"_s)}};
        decisions[0].newName = u"Should not be used"_s;

        QHash<qint64, PlanItem> byId;
        for (const PlanItem& planned : Planner::plan(items, decisions, profile()))
            byId.insert(planned.id, planned);
        QCOMPARE(byId.keys().size(), 3);
        QVERIFY(!byId.contains(2)); // already in the rule's folder

        QCOMPARE(byId[0].destFolder, u"Library/Torrents"_s);
        QCOMPARE(byId[0].category, Category(Category::user));
        QVERIFY(byId[0].approved);
        QCOMPARE(byId[0].newName, std::nullopt);
        QCOMPARE(byId[0].reason, u"Your rule: *.torrent \u2192 Library/Torrents"_s);
        QCOMPARE(byId[0].rule, u"r1"_s);
        QCOMPARE(byId[0].site, u"tracker.example.org"_s);

        QCOMPARE(byId[1].destFolder, u"Brindlow Review/To Delete - Review First/Your rules"_s);
        QCOMPARE(byId[1].destFolder, UserRules::junkFolder());
        QCOMPARE(byId[1].category, Category(Category::junk));
        QVERIFY(byId[1].approved);
        QCOMPARE(byId[1].rule, u"r2"_s);
        QCOMPARE(byId[1].site, std::nullopt);

        QCOMPARE(byId[3].rule, std::nullopt);
        QCOMPARE(byId[3].site, u"mail.example.com"_s);
    }
};

QTEST_GUILESS_MAIN(TestPlanner)
#include "tst_planner.moc"
