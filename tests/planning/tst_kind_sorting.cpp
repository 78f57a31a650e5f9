#include "model/home_tree.h"
#include "planning/kind_sorting.h"
#include "planning/planner.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

ScannedItem item(const QString& name, FileKind kind, const QList<JunkHint>& hints = {})
{
    ScannedItem scanned;
    scanned.id = 7;
    scanned.url = QUrl::fromLocalFile(u"/home/ann/Downloads/"_s + name);
    scanned.name = name;
    const qsizetype dot = name.lastIndexOf(u'.');
    scanned.ext = dot > 0 ? name.mid(dot + 1).toLower() : QString();
    scanned.kind = kind;
    scanned.isDir = kind == FileKind::folder;
    scanned.junkHints = hints;
    scanned.modified = QDateTime(QDate(2022, 3, 4), QTime(12, 0));
    return scanned;
}

Profile profile()
{
    Profile result;
    result.homeBase = u"/home/ann/Documents"_s;
    return result;
}

const QStringList* listOf(Category::Kind kind)
{
    switch (kind) {
        case Category::creator:
            return &HomeTree::creatorSubs();
        case Category::personal:
            return &HomeTree::personalSubs();
        case Category::library:
            return &HomeTree::librarySubs();
        default:
            return nullptr;
    }
}

} // namespace

class TestKindSorting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A sub-folder spelt even slightly off would not fail anywhere: the planner takes short new
    // names, so the tree would grow a second "Screenshot" folder beside "Screenshots".
    void everyFolderIsOneTheTreeAlreadyHas()
    {
        for (const KindSorting::Row& row : KindSorting::rows()) {
            const QStringList* list = listOf(row.category);
            if (!list) {
                QVERIFY(row.sub.isEmpty());
                continue;
            }
            QVERIFY2(list->contains(row.sub.toString()), qPrintable(row.sub.toString()));
        }
    }

    void sortsByKindHintAndName_data()
    {
        QTest::addColumn<ScannedItem>("scanned");
        QTest::addColumn<QString>("folder"); // empty: stays where it is
        QTest::addColumn<QString>("reason");

        const QString unknown = u"Brindlow couldn't tell what this is without a model."_s;
        const QList<JunkHint> screenshot {JunkHint::screenshotName};
        QTest::newRow("screenshot beats image") << item(u"Screenshot 2024.png"_s, FileKind::image, screenshot)
                                                << u"Library/Screenshots"_s << u"Sorted by kind: Screenshot"_s;
        QTest::newRow("screen recording") << item(u"Screen Recording 1.mp4"_s, FileKind::video, screenshot)
                                          << u"Library/Screenshots"_s << u"Sorted by kind: Screen recording"_s;
        QTest::newRow("phone photo by name")
            << item(u"PXL_20240101_120000.jpg"_s, FileKind::image) << u"Personal/Photos"_s
            << u"Sorted by kind: Photo from a camera or phone"_s;
        QTest::newRow("camera raw whatever its name") << item(u"wedding.NEF"_s, FileKind::image) << u"Personal/Photos"_s
                                                      << u"Sorted by kind: Photo from a camera or phone"_s;
        QTest::newRow("phone clip") << item(u"VID_20230812_101010.mp4"_s, FileKind::video) << u"Personal/Photos"_s
                                    << u"Sorted by kind: Video from a camera or phone"_s;
        QTest::newRow("other image") << item(u"image of the team.png"_s, FileKind::image)
                                     << u"Library/Reference & Inspiration"_s << u"Sorted by kind: Image"_s;
        QTest::newRow("other video") << item(u"trailer.mov"_s, FileKind::video) << u"Creator/Clips & Edits"_s
                                     << u"Sorted by kind: Video"_s;
        QTest::newRow("font") << item(u"Inter.woff2"_s, FileKind::font) << u"Library/Fonts"_s
                              << u"Sorted by kind: Font"_s;
        QTest::newRow("saved page") << item(u"Recipe.HTML"_s, FileKind::code) << u"Library/Saved Web Pages"_s
                                    << u"Sorted by kind: Saved web page"_s;
        QTest::newRow("web archive with no kind")
            << item(u"page.mhtml"_s, FileKind::other) << u"Library/Saved Web Pages"_s
            << u"Sorted by kind: Saved web page"_s;
        QTest::newRow("layers") << item(u"poster.psd"_s, FileKind::design) << u"Library/Design Layers"_s
                                << u"Sorted by kind: Layered design file"_s;
        QTest::newRow("3d") << item(u"chair.glb"_s, FileKind::design) << u"Library/3D & Assets"_s
                            << u"Sorted by kind: 3D file"_s;
        QTest::newRow("music") << item(u"song.flac"_s, FileKind::audio) << u"Personal/Music"_s
                               << u"Sorted by kind: Music"_s;
        QTest::newRow("recording") << item(u"take 3.wav"_s, FileKind::audio) << u"Library/Audio"_s
                                   << u"Sorted by kind: Sound recording"_s;
        QTest::newRow("pdf") << item(u"lease.pdf"_s, FileKind::pdf) << u"Personal/Documents"_s
                             << u"Sorted by kind: PDF document"_s;
        QTest::newRow("archive by its year")
            << item(u"old.tar.gz"_s, FileKind::archive) << u"Archive/2022"_s << u"Sorted by kind: Archive"_s;
        QTest::newRow("kept installer") << item(u"tool.deb"_s, FileKind::installer, {JunkHint::installer})
                                        << u"Library/Other"_s << u"Sorted by kind: App installer"_s;
        QTest::newRow("program run in place")
            << item(u"editor.AppImage"_s, FileKind::installer) << QString() << QString();
        QTest::newRow("desktop launcher") << item(u"mail.desktop"_s, FileKind::code) << QString() << QString();
        QTest::newRow("application") << item(u"Tool.app"_s, FileKind::bundle) << QString() << QString();
        QTest::newRow("script") << item(u"fix.py"_s, FileKind::code) << u"Brindlow Review/Needs You"_s << unknown;
        QTest::newRow("unknown binary") << item(u"blob.bin"_s, FileKind::other) << u"Brindlow Review/Needs You"_s
                                        << unknown;
        QTest::newRow("folder of mixed content")
            << item(u"stuff"_s, FileKind::folder) << u"Brindlow Review/Needs You"_s << unknown;
    }

    // Through the planner, as a refresh uses it: the folder is the one the person will see.
    void sortsByKindHintAndName()
    {
        QFETCH(ScannedItem, scanned);
        QFETCH(QString, folder);
        QFETCH(QString, reason);
        const std::optional<Decision> decision = KindSorting::decide(scanned);
        QCOMPARE(decision.has_value(), !folder.isEmpty());
        if (!decision)
            return;
        QCOMPARE(decision->confidence, Confidence(Confidence::medium));
        QCOMPARE(decision->provenance, Provenance::kindTable);
        QVERIFY(!decision->newName && !decision->projectHint);
        const QList<PlanItem> plan = Planner::plan({scanned}, {{scanned.id, *decision}}, profile());
        QCOMPARE(plan.size(), 1);
        QCOMPARE(plan[0].destFolder, folder);
        QCOMPARE(plan[0].reason, reason);
        // Sorted by kind is approved as a model's medium answer is; what it cannot tell waits.
        QCOMPARE(plan[0].approved, folder != HomeTree::needsYou());
        QCOMPARE(plan[0].category == Category::needsYou, folder == HomeTree::needsYou());
        QVERIFY(!plan[0].newName);
    }

    void cameraNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("camera");
        for (const char* name : {"IMG_4032.HEIC",
                                 "img4032.jpg",
                                 "DSC-0012.jpg",
                                 "DSCN0042.JPG",
                                 "PXL_20240101.jpg",
                                 "MVIMG_20190101_1.jpg",
                                 "GOPR0042.MP4",
                                 "GX010042.MP4",
                                 "20240501_101010.jpg"})
            QTest::newRow(name) << QString::fromLatin1(name) << true;
        for (const char* name : {"image of the team.png",
                                 "imgur meme.png",
                                 "dscribe.png",
                                 "vid.mp4",
                                 "2024 budget.jpg",
                                 "pixel art.png",
                                 "my IMG_4032.jpg"})
            QTest::newRow(name) << QString::fromLatin1(name) << false;
    }

    void cameraNames()
    {
        QFETCH(QString, name);
        QFETCH(bool, camera);
        QCOMPARE(KindSorting::isCameraName(name), camera);
    }
};

QTEST_GUILESS_MAIN(TestKindSorting)
#include "tst_kind_sorting.moc"
