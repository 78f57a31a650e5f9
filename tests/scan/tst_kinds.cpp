#include "scan/kinds.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestKinds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tablesHaveExactlyTheListedEntries()
    {
        QCOMPARE(Kinds::map().size(), 146);
        QCOMPARE(Kinds::bundleExtensions().size(), 25);
        QCOMPARE(Kinds::hardProtected().size(), 10);

        // Counted by hand from the extension lists; a dropped or misspelt word changes a count.
        const QHash<FileKind, int> expected {
            {FileKind::pdf, 1},
            {FileKind::image, 19},
            {FileKind::video, 11},
            {FileKind::audio, 9},
            {FileKind::design, 27},
            {FileKind::doc, 10},
            {FileKind::sheet, 6},
            {FileKind::slides, 4},
            {FileKind::archive, 10},
            {FileKind::installer, 13},
            {FileKind::code, 26},
            {FileKind::font, 4},
            {FileKind::partial, 5},
            {FileKind::other, 1},
        };
        QHash<FileKind, int> counted;
        for (auto it = Kinds::map().cbegin(); it != Kinds::map().cend(); ++it) {
            QCOMPARE(it.key(), it.key().toLower());
            ++counted[it.value()];
        }
        QCOMPARE(counted, expected);

        for (const char* kind : {"image", "audio", "archive", "installer", "code", "partial", "other"})
            QVERIFY2(!Kinds::hardProtected().contains(*fileKindFromRaw(QString::fromLatin1(kind))), kind);
    }

    void kindOfFiles_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<FileKind>("kind");
        QTest::newRow("upper-case extension") << u"/h/Report.PDF"_s << FileKind::pdf;
        QTest::newRow("no extension") << u"/h/Makefile"_s << FileKind::other;
        QTest::newRow("unknown extension") << u"/h/notes.xyz"_s << FileKind::other;
        QTest::newRow("last extension only") << u"/h/archive.tar.gz"_s << FileKind::archive;
        QTest::newRow("installer") << u"/h/setup.dmg"_s << FileKind::installer;
        QTest::newRow("unfinished download") << u"/h/movie.mp4.part"_s << FileKind::partial;
        QTest::newRow("hidden name is not an extension") << u"/h/.json"_s << FileKind::other;
        QTest::newRow("trailing dot") << u"/h/draft."_s << FileKind::other;
        QTest::newRow("dot in a folder name") << u"/h/v1.2/readme"_s << FileKind::other;
        QTest::newRow("camera raw") << u"/h/IMG_0001.CR3"_s << FileKind::image;
        QTest::newRow("a bundle extension as a file") << u"/h/Deck.key"_s << FileKind::slides;
    }

    void kindOfFiles()
    {
        QFETCH(QString, path);
        QFETCH(FileKind, kind);
        QCOMPARE(Kinds::kind(path, false), kind);
    }

    void kindOfFoldersTakenWhole_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<FileKind>("kind");
        QTest::newRow("keynote") << u"/h/Deck.key"_s << FileKind::slides;
        QTest::newRow("numbers") << u"/h/Budget.numbers"_s << FileKind::sheet;
        QTest::newRow("pages") << u"/h/Report.pages"_s << FileKind::doc;
        QTest::newRow("rtfd") << u"/h/Notes.rtfd"_s << FileKind::doc;
        QTest::newRow("sketch") << u"/h/Logo.sketch"_s << FileKind::design;
        QTest::newRow("premiere") << u"/h/Promo.prproj"_s << FileKind::design;
        QTest::newRow("after effects") << u"/h/Comp.aep"_s << FileKind::design;
        QTest::newRow("application") << u"/h/Tool.app"_s << FileKind::bundle;
        QTest::newRow("upper-case bundle") << u"/h/Tool.APP"_s << FileKind::bundle;
        QTest::newRow("xcode") << u"/h/Site.xcodeproj"_s << FileKind::bundle;
        QTest::newRow("photos library") << u"/h/Trip.photoslibrary"_s << FileKind::bundle;
        QTest::newRow("project marker") << u"/h/webapp"_s << FileKind::project;
        QTest::newRow("mapped but not a bundle extension") << u"/h/data.zip"_s << FileKind::project;
    }

    void kindOfFoldersTakenWhole()
    {
        QFETCH(QString, path);
        QFETCH(FileKind, kind);
        QCOMPARE(Kinds::kind(path, true), kind);
    }
};

QTEST_GUILESS_MAIN(TestKinds)
#include "tst_kinds.moc"
