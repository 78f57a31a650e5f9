#include "model/store.h"
#include "planning/move_log.h"
#include "planning/mover.h"
#include "platform/file_mover.h"
#include "platform/file_mover_hooks.h"
#include "support/file_factory.h"
#include "support/temp_home.h"
#include "support/tmpfs_mount.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

PlanItem planned(const QString& source, const QString& destFolder, const Category& category = Category::personal)
{
    PlanItem item;
    item.src = QUrl::fromLocalFile(source);
    item.destFolder = destFolder;
    item.category = category;
    item.confidence = Confidence::high;
    item.kind = QFileInfo(source).isDir() ? FileKind::folder : FileKind::doc;
    item.size = QFileInfo(source).size();
    item.approved = true;
    item.renameApproved = true;
    return item;
}

// `count` small files "file <n>.txt" holding <n>, planned into `destFolder`.
QList<PlanItem> numberedFiles(const QString& folder, int count, const QString& destFolder = u"Sorted"_s)
{
    QList<PlanItem> plan;
    for (int i = 0; i < count; ++i) {
        FileFactory::write(folder + u"/file %1.txt"_s.arg(i), QByteArray::number(i));
        plan.append(planned(folder + u"/file %1.txt"_s.arg(i), destFolder));
    }
    return plan;
}

ApplyOptions options(const QString& base, const QStringList& roots, bool renames = true)
{
    return {base, roots, renames, {}};
}

QStringList logNames()
{
    return QDir(Store::logsDir()).entryList(QDir::Files, QDir::Name);
}

// Every file below `dir` that a person would see, by its path below `dir`, with its content.
QMap<QString, QByteArray> filesUnder(const QString& dir)
{
    QMap<QString, QByteArray> files;
    for (QDirIterator it(dir, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        const QString path = it.next();
        files.insert(QDir(dir).relativeFilePath(path), FileFactory::contents(path));
    }
    return files;
}

int partialsUnder(const QString& dir)
{
    int count = 0;
    for (QDirIterator it(dir, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
         it.hasNext();)
        count += it.next().contains(u"/.brindlow-partial-"_s);
    return count;
}

// A folder on another file system than the temporary home; none when this machine has none.
std::optional<QString> otherDevice(const QTemporaryDir& other, const TempHome& home)
{
    struct stat here
    {
    }, there {};
    ::stat(QFile::encodeName(home.path()).constData(), &here);
    ::stat(QFile::encodeName(other.path()).constData(), &there);
    return other.isValid() && here.st_dev != there.st_dev ? std::optional(other.path()) : std::nullopt;
}

// Hooks set by a test never outlive it.
struct HookReset
{
    ~HookReset()
    {
        FileMoverHooks::setBeforeMove({});
        FileMoverHooks::setAfterFileCopied({});
    }
};

} // namespace

class TestMover : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void freeNames()
    {
        QTemporaryDir dir;
        const QString d = dir.path();
        QCOMPARE(Mover::freePath(d + u"/report.pdf"_s), d + u"/report.pdf"_s);
        FileFactory::write(d + u"/report.pdf"_s, "1");
        QCOMPARE(Mover::freePath(d + u"/report.pdf"_s), d + u"/report (2).pdf"_s);
        FileFactory::write(d + u"/report (2).pdf"_s, "2");
        QCOMPARE(Mover::freePath(d + u"/report.pdf"_s), d + u"/report (3).pdf"_s);
        FileFactory::write(d + u"/Makefile"_s, "m");
        QCOMPARE(Mover::freePath(d + u"/Makefile"_s), d + u"/Makefile (2)"_s);
        FileFactory::write(d + u"/a.tar.gz"_s, "a");
        QCOMPARE(Mover::freePath(d + u"/a.tar.gz"_s), d + u"/a.tar (2).gz"_s);
        // A dangling link is something too.
        QVERIFY(QFile::link(d + u"/nowhere"_s, d + u"/link.txt"_s));
        QCOMPARE(Mover::freePath(d + u"/link.txt"_s), d + u"/link (2).txt"_s);
        // At the length limit the stem gives way to the counter.
        const QString longName = QString(251, u'x') + u".txt"_s;
        FileFactory::write(d + u'/' + longName, "long");
        const QString free = Mover::freePath(d + u'/' + longName);
        QCOMPARE(QFileInfo(free).fileName(), QString(247, u'x') + u" (2).txt"_s);
    }

    void moveNeverReplaces()
    {
        QTemporaryDir dir;
        const QString d = dir.path();
        FileFactory::write(d + u"/a.txt"_s, "mine");
        FileFactory::write(d + u"/taken.txt"_s, "theirs");
        QDir().mkpath(d + u"/emptydir"_s);
        QCOMPARE(FileMover::move(d + u"/a.txt"_s, d + u"/taken.txt"_s), FileMover::Outcome::destinationTaken);
        QCOMPARE(FileMover::move(d + u"/a.txt"_s, d + u"/emptydir"_s), FileMover::Outcome::destinationTaken);
        QCOMPARE(FileFactory::contents(d + u"/taken.txt"_s), QByteArray("theirs"));
        QCOMPARE(FileMover::move(d + u"/gone.txt"_s, d + u"/b.txt"_s), FileMover::Outcome::failed);
        QCOMPARE(FileMover::move(d + u"/a.txt"_s, d + u"/b.txt"_s), FileMover::Outcome::moved);
        QCOMPARE(FileFactory::contents(d + u"/b.txt"_s), QByteArray("mine"));
        QVERIFY(!QFileInfo::exists(d + u"/a.txt"_s));
    }

    void applyAndUndo()
    {
        TempHome home;
        const QString base = home.path() + u"/Documents"_s;
        const QString down = home.path() + u"/Downloads"_s;
        FileFactory::write(down + u"/report.pdf"_s, "new report");
        FileFactory::write(base + u"/Personal/report.pdf"_s, "old report");
        FileFactory::write(base + u"/Personal/report (2).pdf"_s, "older report");
        FileFactory::write(down + u"/IMG_1.jpg"_s, "photo");
        FileFactory::write(down + u"/dup.jpg"_s, "dup");
        FileFactory::write(down + u"/junk.zip"_s, "junk!");
        FileFactory::write(down + u"/protected.pdf"_s, "keep");
        FileFactory::write(down + u"/unsure.txt"_s, "unsure");
        FileFactory::write(down + u"/album/one.jpg"_s, "one");
        FileFactory::write(down + u"/stay.txt"_s, "stay");
        FileFactory::write(base + u"/Blocked"_s, "a file where a folder should be");
        FileFactory::write(home.path() + u"/.ssh/id_ed25519"_s, "secret");
        FileFactory::write(down + u"/sub/deep.txt"_s, "deep");

        QList<PlanItem> plan {
            planned(down + u"/report.pdf"_s, u"Personal"_s),
            planned(down + u"/IMG_1.jpg"_s, u"Personal/Photos"_s),
            planned(down + u"/dup.jpg"_s, u"Brindlow Review/Duplicates - Review First"_s, Category::duplicate),
            planned(down + u"/junk.zip"_s, u"Brindlow Review/To Delete - Review First/Old"_s, Category::junk),
            planned(down + u"/protected.pdf"_s, u"Brindlow Review/To Delete - Review First"_s, Category::junk),
            planned(down + u"/unsure.txt"_s, u"Brindlow Review/Needs You"_s, Category::needsYou),
            planned(down + u"/album"_s, u"Personal/Albums"_s),
            planned(down + u"/missing.txt"_s, u"Personal"_s),
            planned(down + u"/stay.txt"_s, u"../Elsewhere"_s),
            planned(down + u"/stay.txt"_s, QString()),
            planned(down + u"/stay.txt"_s, u"/etc"_s),
            planned(down + u"/stay.txt"_s, u"Personal/../.."_s),
            planned(down + u"/stay.txt"_s, u"Blocked/sub"_s),
            planned(down + u"/stay.txt"_s, u"Personal"_s),
            planned(home.path() + u"/.ssh/id_ed25519"_s, u"Personal"_s),
            planned(down + u"/sub/deep.txt"_s, u"Personal"_s),
            planned(down + u"/sub/../../.ssh/id_ed25519"_s, u"Personal"_s)};
        plan[1].newName = u"Team offsite.jpg"_s;
        plan[3].kind = FileKind::archive;
        plan[4].kind = FileKind::pdf;
        plan[13].approved = false;
        const ApplyResult result = Mover::apply(plan, options(base, {down, base}));
        for (const QString& gone :
             {u"report.pdf"_s, u"IMG_1.jpg"_s, u"dup.jpg"_s, u"junk.zip"_s, u"unsure.txt"_s, u"album"_s})
            QVERIFY2(!QFileInfo::exists(down + u'/' + gone), qPrintable(gone));

        QCOMPARE(result.moved, 6);
        QCOMPARE(result.renamed, 1);
        QCOMPARE(result.junkBytes, qint64(3 + 5));
        QCOMPARE(result.needsYou, 1);
        QCOMPARE(result.skipped, 10);
        QCOMPARE(result.skippedItems.size(), 10);
        QCOMPARE(result.skippedItems.at(7),
                 (SkippedMove {u"id_ed25519"_s, u".ssh"_s, u"It is not in one of the folders Brindlow sorts."_s}));
        QCOMPARE(result.stoppedBecause, std::nullopt);
        QCOMPARE(FileFactory::contents(home.path() + u"/.ssh/id_ed25519"_s), QByteArray("secret"));
        QCOMPARE(FileFactory::contents(down + u"/sub/deep.txt"_s), QByteArray("deep"));
        QCOMPARE(FileFactory::contents(base + u"/Personal/report (3).pdf"_s), QByteArray("new report"));
        QCOMPARE(FileFactory::contents(base + u"/Personal/report.pdf"_s), QByteArray("old report"));
        QCOMPARE(FileFactory::contents(base + u"/Personal/Photos/Team offsite.jpg"_s), QByteArray("photo"));
        QCOMPARE(FileFactory::contents(base + u"/Personal/Albums/album/one.jpg"_s), QByteArray("one"));
        QCOMPARE(FileFactory::contents(down + u"/protected.pdf"_s), QByteArray("keep"));
        QCOMPARE(FileFactory::contents(down + u"/stay.txt"_s), QByteArray("stay"));
        QCOMPARE(logNames().size(), 1);
        const QList<MoveRecord> records = MoveLog::read(Store::logsDir() + u'/' + logNames().first())->moved;
        QCOMPARE(records.size(), 6);
        QCOMPARE(records.first().from, down + u"/report.pdf"_s);
        QCOMPARE(records.first().to, base + u"/Personal/report (3).pdf"_s);

        // Renames off: the old name travels.
        FileFactory::write(down + u"/IMG_2.jpg"_s, "photo 2");
        PlanItem second = planned(down + u"/IMG_2.jpg"_s, u"Personal/Photos"_s);
        second.newName = u"Never used.jpg"_s;
        QCOMPARE(Mover::apply({second}, options(base, {down}, false)).renamed, 0);
        QCOMPARE(FileFactory::contents(base + u"/Personal/Photos/IMG_2.jpg"_s), QByteArray("photo 2"));
        QCOMPARE(logNames().size(), 2); // the same second gets a second log

        // Undo walks back: first the second apply, then the first, with taken places and a file the person removed.
        QCOMPARE(Mover::undoLatest().restored, 1);
        QCOMPARE(FileFactory::contents(down + u"/IMG_2.jpg"_s), QByteArray("photo 2"));
        FileFactory::write(down + u"/report.pdf"_s, "a newcomer");
        QFile::remove(base + u"/Brindlow Review/Duplicates - Review First/dup.jpg"_s); // the person emptied it
        QCOMPARE(Mover::undoLatest().restored, 5);
        QCOMPARE(FileFactory::contents(down + u"/report.pdf"_s), QByteArray("a newcomer"));
        QCOMPARE(FileFactory::contents(down + u"/report (2).pdf"_s), QByteArray("new report"));
        QCOMPARE(FileFactory::contents(down + u"/IMG_1.jpg"_s), QByteArray("photo"));
        QCOMPARE(FileFactory::contents(down + u"/album/one.jpg"_s), QByteArray("one"));
        QCOMPARE(FileFactory::contents(base + u"/Personal/report.pdf"_s), QByteArray("old report"));
        QCOMPARE(Mover::undoLatest(), UndoResult {}); // every log is undone now

        // A folder is never moved into itself.
        FileFactory::write(base + u"/Stuff/keep.txt"_s, "keep");
        const ApplyResult inside = Mover::apply({planned(base + u"/Stuff"_s, u"Stuff/Inner"_s)}, options(base, {base}));
        QCOMPARE(inside.skipped, 1);
        QCOMPARE(FileFactory::contents(base + u"/Stuff/keep.txt"_s), QByteArray("keep"));
        const QStringList names = logNames();
        QCOMPARE(names.size(), 2);
        QVERIFY(names.at(0).startsWith(u"undone-moves-"_s) && names.at(1).startsWith(u"undone-moves-"_s));
    }

    void logReadsBackWhatHappened()
    {
        TempHome home;
        const QString path = Store::logsDir() + u"/moves-test.json"_s;
        MoveLog log(path);
        QList<MoveRecord> moved;
        for (int i = 0; i < 25; ++i) {
            const MoveRecord record {u"/from/%1 🦊"_s.arg(i),
                                     u"/to/\"quoted\" \\ é %1"_s.arg(i),
                                     QDateTime(QDate(2025, 3, 9), QTime(8, 15, i), Qt::UTC)};
            QVERIFY(log.intend(record));
            // Before its move a record is in doubt; after it, certain; a move that failed is gone.
            QCOMPARE(MoveLog::read(path)->inDoubt, record);
            if (i % 10 == 3) {
                QVERIFY(log.notMoved());
                continue;
            }
            log.moved();
            moved.append(record);
        }
        QCOMPARE(MoveLog::read(path)->moved, moved.mid(0, moved.size() - 1));
        // A process killed in the middle of an append leaves new text after the old array.
        QFile file(path);
        QVERIFY(file.open(QIODevice::Append));
        file.write(",\n    {\n        \"at\": \"2025-03-09T08:16:");
        file.close();
        QCOMPARE(MoveLog::read(path)->inDoubt, moved.last());

        log.finish();
        QJsonArray array;
        for (const MoveRecord& record : moved)
            array.append(record.toJson());
        QCOMPARE(FileFactory::contents(path), QJsonDocument(array).toJson(QJsonDocument::Indented));
        QCOMPARE(MoveLog::read(path)->moved, moved);
        QCOMPARE(MoveLog::read(path)->inDoubt, std::nullopt);
    }

    void killedApplyLeavesEverythingUndoable_data()
    {
        QTest::addColumn<bool>("acrossDevices");
        QTest::addColumn<bool>("duringCopy"); // killed after the n-th file copied, else before the n-th move
        QTest::addColumn<int>("n");
        QTest::newRow("before the first move") << false << false << 1;
        QTest::newRow("before move 7") << false << false << 7;
        QTest::newRow("before move 24, after a flush") << false << false << 24;
        QTest::newRow("in the middle of a folder's copy") << true << true << 12;
        QTest::newRow("a file copied, not yet in place") << true << true << 14;
    }

    void killedApplyLeavesEverythingUndoable()
    {
        QFETCH(bool, acrossDevices);
        QFETCH(bool, duringCopy);
        QFETCH(int, n);
        TempHome home;
        QTemporaryDir other(u"/dev/shm/brindlow-test-XXXXXX"_s);
        const std::optional<QString> elsewhere = otherDevice(other, home);
        if (acrossDevices && !elsewhere)
            QSKIP("no second file system here");
        const QString down = home.path() + u"/Downloads"_s;
        const QString base = (acrossDevices ? *elsewhere : home.path()) + u"/Documents"_s;
        // A folder and a large file among small ones, so that a kill can land inside a copy.
        QList<PlanItem> plan = numberedFiles(down, 25);
        for (const char* name : {"a", "b", "c"})
            FileFactory::write(down + u"/album/"_s + QLatin1StringView(name), name);
        FileFactory::write(down + u"/big.bin"_s, QByteArray(1 << 20, 'b'));
        plan.insert(10, planned(down + u"/album"_s, u"Sorted"_s));
        plan.insert(11, planned(down + u"/big.bin"_s, u"Sorted"_s));
        const QMap<QString, QByteArray> originals = filesUnder(down);

        const pid_t child = ::fork();
        if (child == 0) {
            int calls = 0;
            const auto killAtN = [&](const QString&) {
                if (++calls == n)
                    ::kill(::getpid(), SIGKILL);
            };
            duringCopy ? FileMoverHooks::setAfterFileCopied(killAtN) : FileMoverHooks::setBeforeMove(killAtN);
            Mover::apply(plan, options(base, {down}));
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        QVERIFY(WIFSIGNALED(status));

        // Nothing half made under a real name, and every file in exactly one place.
        const QMap<QString, QByteArray> sorted = filesUnder(base + u"/Sorted"_s);
        for (auto it = sorted.cbegin(); it != sorted.cend(); ++it)
            QCOMPARE(it.value(), originals.value(it.key()));
        QVERIFY(!sorted.contains(u"album/a"_s) || sorted.contains(u"album/c"_s));
        const QMap<QString, QByteArray> left = filesUnder(down);
        for (const QString& name : originals.keys())
            QVERIFY2(left.contains(name) != sorted.contains(name), qPrintable(name));

        Mover::undoLatest();
        QCOMPARE(filesUnder(down), originals);
        QVERIFY(filesUnder(base).isEmpty());
        // The next apply into the same folder clears away what the killed copy left.
        QCOMPARE(Mover::apply(plan, options(base, {down})).moved, int(plan.size()));
        QCOMPARE(partialsUnder(base), 0);
    }

    void crossDeviceMoveKeepsWhatChangedDuringCopy()
    {
        TempHome home;
        QTemporaryDir other(u"/dev/shm/brindlow-test-XXXXXX"_s);
        const std::optional<QString> elsewhere = otherDevice(other, home);
        if (!elsewhere)
            QSKIP("no second file system here");
        HookReset reset;
        const QString down = home.path() + u"/Downloads"_s;
        const QString base = *elsewhere + u"/Documents"_s;
        FileFactory::write(down + u"/site/index.html"_s, "<html>");
        FileFactory::write(down + u"/site/img/logo.png"_s, "png");
        FileFactory::write(down + u"/notes.txt"_s, "notes");
        QVERIFY(QFile::link(u"index.html"_s, down + u"/site/home.html"_s));
        FileFactory::write(down + u"/deck.pdf"_s, QByteArray(3 << 20, 'p'));
        ::chmod(QFile::encodeName(down + u"/deck.pdf"_s).constData(), 0640);
        const QDateTime stamp(QDate(2020, 1, 2), QTime(3, 4, 5), Qt::UTC);
        FileFactory::setModified(down + u"/deck.pdf"_s, stamp);
        FileFactory::setOriginAttribute(down + u"/deck.pdf"_s, "https://example.org/deck.pdf");
        // Each time a file is copied, another thread changes the originals, and the copy waits
        // until it has: the folder gains a file and loses an edit, the lone file grows.
        FileMoverHooks::setAfterFileCopied([&](const QString& copied) {
            std::thread writer([&] {
                if (copied.endsWith(u"index.html"_s)) {
                    FileFactory::write(down + u"/site/index.html"_s, "<html>edited");
                    FileFactory::write(down + u"/site/new.txt"_s, "new");
                } else if (copied.endsWith(u"notes.txt"_s)) {
                    FileFactory::write(down + u"/notes.txt"_s, "notes, more");
                }
            });
            writer.join();
        });
        const ApplyResult result = Mover::apply({planned(down + u"/site"_s, u"Work"_s),
                                                 planned(down + u"/notes.txt"_s, u"Work"_s),
                                                 planned(down + u"/deck.pdf"_s, u"Work"_s)},
                                                options(base, {down}));

        // What nobody touched moves whole: contents, permissions, times, attributes, links.
        QCOMPARE(result.moved, 1);
        const QByteArray deck = QFile::encodeName(base + u"/Work/deck.pdf"_s);
        QCOMPARE(FileFactory::contents(QFile::decodeName(deck)), QByteArray(3 << 20, 'p'));
        QCOMPARE(QFileInfo(QFile::decodeName(deck)).lastModified().toUTC(), stamp);
        struct stat info
        { };
        QVERIFY(::stat(deck.constData(), &info) == 0 && (info.st_mode & 0777) == 0640);
        char origin[64] = {};
        QVERIFY(::getxattr(deck.constData(), "user.xdg.origin.url", origin, sizeof origin) > 0);
        QCOMPARE(QFileInfo(base + u"/Work/site/home.html"_s).symLinkTarget(), base + u"/Work/site/index.html"_s);
        QVERIFY(!QFileInfo::exists(down + u"/deck.pdf"_s));
        QCOMPARE(result.skipped, 2);
        QVERIFY(result.skippedItems.at(0).reason.startsWith(u"Part of it changed"_s));
        QCOMPARE(FileFactory::contents(down + u"/site/index.html"_s), QByteArray("<html>edited"));
        QCOMPARE(FileFactory::contents(base + u"/Work/site/index.html"_s), QByteArray("<html>"));
        QCOMPARE(FileFactory::contents(base + u"/Work/site/img/logo.png"_s), QByteArray("png"));
        QVERIFY(!QFileInfo::exists(down + u"/site/img"_s));
        // Whether the new file made it into the copy depends on the folder's order; never lost.
        QVERIFY(QFileInfo::exists(down + u"/site/new.txt"_s) || QFileInfo::exists(base + u"/Work/site/new.txt"_s));
        QCOMPARE(FileFactory::contents(down + u"/notes.txt"_s), QByteArray("notes, more"));
        QVERIFY(!QFileInfo::exists(base + u"/Work/notes.txt"_s));
        QCOMPARE(partialsUnder(base), 0);

        // The copy is in the log, and comes back beside what stayed.
        QCOMPARE(Mover::undoLatest().restored, 2);
        QCOMPARE(QFileInfo(down + u"/deck.pdf"_s).lastModified().toUTC(), stamp);
        QCOMPARE(FileFactory::contents(down + u"/site (2)/index.html"_s), QByteArray("<html>"));
        QCOMPARE(FileFactory::contents(down + u"/site/index.html"_s), QByteArray("<html>edited"));
    }

    void damagedNewestLogIsSetAside_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::newRow("cut short") << u"cut"_s;
        QTest::newRow("a pipe") << u"fifo"_s;
        QTest::newRow("garbage") << u"garbage"_s;
    }

    void damagedNewestLogIsSetAside()
    {
        QFETCH(QString, damage);
        TempHome home;
        const QString down = home.path() + u"/Downloads"_s;
        FileFactory::write(down + u"/a.txt"_s, "a");
        QCOMPARE(
            Mover::apply({planned(down + u"/a.txt"_s, u"Sorted"_s)}, options(down + u"/../Documents"_s, {down})).moved,
            1);
        const QString logs = Store::logsDir();
        const QString newest = logs + u"/moves-2999-01-01_000000.json"_s;
        const QByteArray log = MoveLog::encode({{u"/x"_s, u"/y"_s, QDateTime::currentDateTimeUtc()}});
        if (damage == u"cut")
            FileFactory::write(newest, log.left(log.size() / 2));
        else if (damage == u"fifo")
            QCOMPARE(::mkfifo(QFile::encodeName(newest).constData(), 0600), 0);
        else
            FileFactory::write(newest, "\x89PNG\r\n\x1a\n not a log");
        FileFactory::write(logs + u"/damaged-moves-2999-01-01_000000.json"_s, "set aside before");

        const UndoResult undone = Mover::undoLatest();
        QCOMPARE(undone.restored, 1);
        QCOMPARE(undone.setAside, QStringList {u"damaged-moves-2999-01-01_000000 (2).json"_s});
        QCOMPARE(FileFactory::contents(down + u"/a.txt"_s), QByteArray("a"));
        QCOMPARE(FileFactory::contents(logs + u"/damaged-moves-2999-01-01_000000.json"_s),
                 QByteArray("set aside before"));
        struct stat info
        { };
        QCOMPARE(::lstat(QFile::encodeName(logs + u'/' + undone.setAside.first()).constData(), &info), 0);
        QVERIFY(!QFileInfo::exists(newest));
    }

    void applyRefusesWhatItCouldNotUndo_data()
    {
        QTest::addColumn<QString>("trouble");
        QTest::addColumn<int>("moved");
        QTest::newRow("logs is a file") << u"logs file"_s << 0;
        QTest::newRow("relative home base") << u"relative"_s << 0;
        QTest::newRow("no home base") << u"empty"_s << 0;
        QTest::newRow("support folder read-only") << u"read-only"_s << 0;
        QTest::newRow("support folder's disk full") << u"full"_s << 0;
        QTest::newRow("disk full after three moves") << u"fills"_s << 3;
    }

    void applyRefusesWhatItCouldNotUndo()
    {
        QFETCH(QString, trouble);
        QFETCH(int, moved);
        TempHome home;
        HookReset reset;
        const bool mounts = trouble == u"read-only" || trouble == u"full" || trouble == u"fills";
        if (mounts && !TmpfsMount::allowed())
            QSKIP("mounting a small disk for the support folder needs root");
        const QString down = home.path() + u"/Downloads"_s;
        // Records longer than a page, so that the log needs fresh room for every one.
        QString folder = u"Sorted"_s;
        for (int i = 0; trouble == u"fills" && i < 15; ++i)
            folder += u'/' + QString(240, QChar(u'a' + i));
        const QList<PlanItem> plan = numberedFiles(down, 8, folder);
        const QMap<QString, QByteArray> originals = filesUnder(down);
        QString base = home.path() + u"/Documents"_s;
        QDir().mkpath(home.supportDir());
        std::optional<TmpfsMount> disk;
        if (mounts)
            QVERIFY(disk.emplace(home.supportDir(), trouble == u"read-only", "size=64k").isMounted());
        int calls = 0;
        if (trouble == u"logs file")
            FileFactory::write(home.supportDir() + u"/logs"_s, "not a folder");
        else if (trouble == u"relative")
            base = u"Documents"_s;
        else if (trouble == u"empty")
            base.clear();
        else if (trouble == u"full")
            disk->fill();
        else if (trouble == u"fills")
            FileMoverHooks::setBeforeMove([&](const QString&) {
                if (++calls == 3)
                    disk->fill();
            });

        const ApplyResult result = Mover::apply(plan, options(base, {down}));
        QVERIFY(result.stoppedBecause);
        QCOMPARE(result.moved, moved);
        QCOMPARE(result.skipped, 0);
        QCOMPARE(Mover::undoLatest().restored, moved);
        QCOMPARE(filesUnder(down), originals);
    }

    void cancelledApplyAndUndoStopAfterTheFileInHand()
    {
        TempHome home;
        HookReset reset;
        const QString down = home.path() + u"/Downloads"_s;
        const QList<PlanItem> plan = numberedFiles(down, 6);
        const QMap<QString, QByteArray> originals = filesUnder(down);
        CancellationPtr cancellation = std::make_shared<Cancellation>();
        int calls = 0;
        FileMoverHooks::setBeforeMove([&](const QString&) {
            if (++calls == 3)
                cancellation->cancel();
        });
        ApplyOptions cancellable = options(home.path() + u"/Documents"_s, {down});
        cancellable.cancellation = cancellation;
        const ApplyResult result = Mover::apply(plan, cancellable);
        QCOMPARE(result.moved, 3);
        QVERIFY(result.stoppedBecause);
        QCOMPARE(MoveLog::read(*Store::latestLog())->moved.size(), 3);

        // An undo stopped after one file leaves the log for the next undo to finish.
        cancellation = std::make_shared<Cancellation>();
        FileMoverHooks::setBeforeMove([&](const QString&) { cancellation->cancel(); });
        QCOMPARE(Mover::undoLatest(cancellation).restored, 1);
        FileMoverHooks::setBeforeMove({});
        QCOMPARE(Mover::undoLatest().restored, 2);
        QCOMPARE(filesUnder(down), originals);
        QVERIFY(logNames().first().startsWith(u"undone-"_s));
    }
};

QTEST_GUILESS_MAIN(TestMover)
#include "tst_mover.moc"
