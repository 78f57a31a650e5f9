#include "model/store.h"
#include "planning/move_log.h"
#include "planning/move_logs.h"
#include "planning/mover.h"
#include "platform/file_mover.h"
#include "platform/file_mover_hooks.h"
#include "support/file_factory.h"
#include "support/temp_home.h"
#include "support/tmpfs_mount.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

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

// Every folder below `dir`, so that an undo can be seen to take away what its apply made.
QStringList foldersUnder(const QString& dir)
{
    QStringList folders;
    for (QDirIterator it(dir, QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories); it.hasNext();)
        folders.append(QDir(dir).relativeFilePath(it.next()));
    folders.sort();
    return folders;
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
        // A name that ends in a dot keeps it, taken or not.
        QCOMPARE(Mover::freePath(d + u"/draft."_s), d + u"/draft."_s);
        FileFactory::write(d + u"/draft."_s, "d");
        QCOMPARE(Mover::freePath(d + u"/draft."_s), d + u"/draft. (2)"_s);
        QCOMPARE(Mover::freePath(d + u"/..."_s), d + u"/..."_s);
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
        const auto move = [](const QString& from, const QString& to) {
            return FileMover::move(from, to, FileMover::partialPathFor(to));
        };
        QCOMPARE(move(d + u"/a.txt"_s, d + u"/taken.txt"_s), FileMover::Outcome::destinationTaken);
        QCOMPARE(move(d + u"/a.txt"_s, d + u"/emptydir"_s), FileMover::Outcome::destinationTaken);
        QCOMPARE(FileFactory::contents(d + u"/taken.txt"_s), QByteArray("theirs"));
        QCOMPARE(move(d + u"/gone.txt"_s, d + u"/b.txt"_s), FileMover::Outcome::failed);
        QCOMPARE(move(d + u"/a.txt"_s, d + u"/b.txt"_s), FileMover::Outcome::moved);
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
        const QStringList foldersBefore = foldersUnder(base);

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
        const QList<MoveRecord> records = MoveLog::read(result.log)->records;
        QCOMPARE(records.size(), 6);
        QCOMPARE(records.first().from, down + u"/report.pdf"_s);
        QCOMPARE(records.first().to, base + u"/Personal/report (3).pdf"_s);
        QVERIFY(records.first().identity && records.first().identity->inode != 0);

        // Renames off: the old name travels.
        FileFactory::write(down + u"/IMG_2.jpg"_s, "photo 2");
        PlanItem second = planned(down + u"/IMG_2.jpg"_s, u"Personal/Photos"_s);
        second.newName = u"Never used.jpg"_s;
        QCOMPARE(Mover::apply({second}, options(base, {down}, false)).renamed, 0);
        QCOMPARE(FileFactory::contents(base + u"/Personal/Photos/IMG_2.jpg"_s), QByteArray("photo 2"));
        QCOMPARE(logNames().size(), 2); // the same second gets a second log

        // Undo walks back: first the second apply, then the first, with a taken place and a file the person removed.
        QCOMPARE(Mover::undoLatest().restored, 1);
        QCOMPARE(FileFactory::contents(down + u"/IMG_2.jpg"_s), QByteArray("photo 2"));
        FileFactory::write(down + u"/report.pdf"_s, "a newcomer");
        QFile::remove(base + u"/Brindlow Review/Duplicates - Review First/dup.jpg"_s); // the person emptied it
        const UndoResult first = Mover::undoLatest();
        QCOMPARE(first.restored, 5);
        QCOMPARE(first.missing, 1);
        QCOMPARE(first.newNames, QStringList {u"report (2).pdf"_s});
        QCOMPARE(FileFactory::contents(down + u"/report.pdf"_s), QByteArray("a newcomer"));
        QCOMPARE(FileFactory::contents(down + u"/report (2).pdf"_s), QByteArray("new report"));
        QCOMPARE(FileFactory::contents(down + u"/IMG_1.jpg"_s), QByteArray("photo"));
        QCOMPARE(FileFactory::contents(down + u"/album/one.jpg"_s), QByteArray("one"));
        QCOMPARE(FileFactory::contents(base + u"/Personal/report.pdf"_s), QByteArray("old report"));
        // The folders the apply made are gone again; the one it found stays.
        QCOMPARE(foldersUnder(base), foldersBefore);
        // The removed file stays owed: a retry brings nothing and finds no older apply.
        const UndoResult retry = Mover::undoLatest();
        QCOMPARE(retry.restored, 0);
        QCOMPARE(retry.missing, 1);
        QCOMPARE(retry.passedOver, 1);

        // A folder is never moved into itself.
        FileFactory::write(base + u"/Stuff/keep.txt"_s, "keep");
        const ApplyResult inside = Mover::apply({planned(base + u"/Stuff"_s, u"Stuff/Inner"_s)}, options(base, {base}));
        QCOMPARE(inside.skipped, 1);
        QCOMPARE(FileFactory::contents(base + u"/Stuff/keep.txt"_s), QByteArray("keep"));
        const QStringList names = logNames();
        QCOMPARE(names.size(), 2);
        QVERIFY(names.at(0).startsWith(u"moves-"_s) && names.at(1).startsWith(u"undone-moves-"_s));
    }

    void logCutAnywhereKeepsEveryLineBeforeTheCut()
    {
        TempHome home;
        const QString path = Store::logsDir() + u"/moves-000001-2025-03-09_081500Z.jsonl"_s;
        MoveLog log(path);
        const QDateTime start(QDate(2025, 3, 9), QTime(8, 15), Qt::UTC);
        QVERIFY(log.start(1, start, start.addDays(-7)));
        QVERIFY(log.folderMade({u"/to"_s, {7, 8, 9}}));
        for (int i = 0; i < 4; ++i) {
            QVERIFY(log.intend(i, MoveRecord::of(u"/from/%1 🦊\n"_s.arg(i), u"/to/\"q\" \\ é %1"_s.arg(i), start)));
            QVERIFY(i == 2 ? log.failed(i, u"gone"_s) : log.moved(i, {1, quint64(1) << 63 | quint64(i), 5}, i == 3));
        }
        QVERIFY(log.close());
        QVERIFY(log.reopen() && log.undoStarted(start) && log.returning(1, u"/from/1"_s, u"/from/.p"_s));
        QVERIFY(log.back(1, u"/from/1"_s) && log.stayed(0, StayReason::replaced) && log.close());

        const MoveLog::Contents whole = *MoveLog::read(path);
        QCOMPARE(whole.sequence, 1);
        QCOMPARE(whole.lastRunBefore, start.addDays(-7));
        QCOMPARE(whole.folders, (QList<CreatedFolder> {{u"/to"_s, {7, 8, 9}}}));
        QCOMPARE(whole.undos, 1);
        QCOMPARE(whole.records.size(), 4);
        QCOMPARE(whole.records.at(0).stayed, StayReason::replaced);
        QCOMPARE(whole.records.at(0).identity->inode, quint64(1) << 63);
        QCOMPARE(whole.records.at(1).state, MoveState::back);
        QCOMPARE(whole.records.at(2).reason, u"gone"_s);
        QVERIFY(whole.records.at(3).partly && whole.filed() == 2);

        // Cut anywhere, a log tells exactly what its complete lines tell; before the end of its
        // first line it is damaged.
        const QByteArray bytes = FileFactory::contents(path);
        const qsizetype headerEnd = bytes.indexOf('\n');
        const QString cut = home.path() + u"/cut.jsonl"_s;
        // Cut at every line's end, just before and after it, and half way through each line.
        QList<qsizetype> sizes {0, bytes.size()};
        for (qsizetype end = bytes.indexOf('\n'), start = 0; end >= 0;
             start = end + 1, end = bytes.indexOf('\n', end + 1))
            sizes << (start + end) / 2 << end - 1 << end << end + 1 << end + 2;
        for (const qsizetype size : sizes) {
            FileFactory::write(cut, bytes.left(size));
            // A line is complete at its closing brace, with or without its newline.
            const qsizetype complete
                = size < bytes.size() && bytes.at(size) == '\n' ? size : bytes.lastIndexOf('\n', size - 1) + 1;
            const std::optional<MoveLog::Contents> contents = MoveLog::read(cut);
            QCOMPARE(contents.has_value(), size >= headerEnd);
            if (!contents || size == complete)
                continue;
            FileFactory::write(cut, bytes.left(complete));
            QCOMPARE(contents->records, MoveLog::read(cut)->records);
        }
    }

    void undoOrderFollowsApplies()
    {
        TempHome home;
        const QString down = home.path() + u"/Downloads"_s;
        const QString logs = Store::logsDir();
        for (const QString& name : {u"moves-2025-03-09_091502.json"_s,
                                    u"moves-2025-03-10_080000.json"_s,
                                    u"undone-moves-2025-03-11_080000.json"_s,
                                    u"moves-2025-03-12_080000.JSON"_s,
                                    u"Moves-2025-03-14_080000.json"_s,
                                    u"notes.json"_s})
            FileFactory::write(logs + u'/' + name, "[]");
        // An apply under Berlin time, then one whose clock says it is earlier (New York time,
        // a clock set back): the later apply is still the one undone first.
        const QTimeZone berlin("Europe/Berlin");
        const QTimeZone newYork("America/New_York");
        ApplyOptions first = options(home.path() + u"/Documents"_s, {down});
        first.now = [&] { return QDateTime(QDate(2026, 1, 1), QTime(12, 0), berlin); };
        ApplyOptions second = first;
        second.now = [&] { return QDateTime(QDate(2026, 1, 1), QTime(5, 0), newYork).addDays(-1); };
        const QList<PlanItem> plan = numberedFiles(down, 2);
        QCOMPARE(Mover::apply({plan.at(0)}, first).moved, 1);
        QCOMPARE(Mover::apply({plan.at(1)}, second).moved, 1);
        const QStringList order = MoveLogs::undoOrder();
        QCOMPARE(order.size(), 4);
        QCOMPARE(QFileInfo(order.at(2)).fileName(), u"moves-2025-03-10_080000.json"_s);
        QCOMPARE(QFileInfo(order.at(3)).fileName(), u"moves-2025-03-09_091502.json"_s);
        QCOMPARE(Mover::undoLatest().restored, 1);
        QVERIFY(QFile::exists(down + u"/file 1.txt"_s) && !QFile::exists(down + u"/file 0.txt"_s));
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
        // The person's own files that merely look like our unfinished copies.
        FileFactory::write(down + u"/.brindlow-partial-x"_s, "mine");
        FileFactory::write(base + u"/Sorted/.brindlow-partial-y"_s, "mine too");
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
        QCOMPARE(partialsUnder(base), 1);
        // The next apply clears away what a killed copy left, and only that.
        if (n > 1)
            FileMoverHooks::setBeforeMove({});
        QCOMPARE(Mover::apply(plan, options(base, {down})).moved, int(plan.size()));
        QCOMPARE(partialsUnder(base), 1);
        QCOMPARE(FileFactory::contents(down + u"/.brindlow-partial-x"_s), QByteArray("mine"));
        QCOMPARE(FileFactory::contents(base + u"/Sorted/.brindlow-partial-y"_s), QByteArray("mine too"));
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
        const UndoResult undone = Mover::undoLatest();
        QCOMPARE(undone.restored, 2);
        QCOMPARE(undone.newNames, QStringList {u"site (2)"_s});
        QCOMPARE(QFileInfo(down + u"/deck.pdf"_s).lastModified().toUTC(), stamp);
        QCOMPARE(FileFactory::contents(down + u"/site (2)/index.html"_s), QByteArray("<html>"));
        QCOMPARE(FileFactory::contents(down + u"/site/index.html"_s), QByteArray("<html>edited"));
    }

    void damagedNewestLogIsSetAside_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::newRow("cut in its first line") << u"cut"_s;
        QTest::newRow("no record after its first line") << u"header"_s;
        QTest::newRow("a pipe") << u"fifo"_s;
        QTest::newRow("garbage") << u"garbage"_s;
    }

    void damagedNewestLogIsSetAside()
    {
        QFETCH(QString, damage);
        TempHome home;
        const QString down = home.path() + u"/Downloads"_s;
        const QList<PlanItem> plan = numberedFiles(down, 3);
        const QString base = home.path() + u"/Documents"_s;
        QCOMPARE(Mover::apply({plan.at(0)}, options(base, {down})).moved, 1);
        const QString cutShort = Mover::apply({plan.at(1), plan.at(2)}, options(base, {down})).log;
        const QByteArray full = FileFactory::contents(cutShort);
        // The apply's second move never got its outcome on disk: its first still goes back.
        FileFactory::write(cutShort, full.left(full.lastIndexOf("\"record\":1") + 5));
        const QString logs = Store::logsDir();
        const QString newest = logs + u"/moves-999999-2999-01-01_000000Z.jsonl"_s;
        if (damage == u"cut")
            FileFactory::write(newest, full.left(full.indexOf('\n') - 3));
        else if (damage == u"header")
            FileFactory::write(newest, full.left(full.indexOf('\n') + 1));
        else if (damage == u"fifo")
            QCOMPARE(::mkfifo(QFile::encodeName(newest).constData(), 0600), 0);
        else
            FileFactory::write(newest, "\x89PNG\r\n\x1a\n not a log");
        FileFactory::write(logs + u"/damaged-moves-999999-2999-01-01_000000Z.jsonl"_s, "set aside before");

        // Set aside, and nothing else that time; then the cut log; then the one before it.
        const UndoResult undone = Mover::undoLatest();
        QCOMPARE(undone.restored, 0);
        QCOMPARE(undone.setAside, QStringList {u"damaged-moves-999999-2999-01-01_000000Z (2).jsonl"_s});
        QVERIFY(!QFileInfo::exists(newest));
        QCOMPARE(FileFactory::contents(logs + u"/damaged-moves-999999-2999-01-01_000000Z.jsonl"_s),
                 QByteArray("set aside before"));
        QCOMPARE(Mover::undoLatest().restored, 2);
        QCOMPARE(Mover::undoLatest().restored, 1);
        QCOMPARE(filesUnder(down).size(), 3);
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

    void undoTakesBackOnlyWhatItMoved_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<int>("replaced");
        QTest::addColumn<int>("missing");
        QTest::newRow("edited in place") << u"edit"_s << 0 << 0;
        QTest::newRow("another file saved under its name") << u"other"_s << 1 << 0;
        QTest::newRow("a link put at its place") << u"link"_s << 1 << 0;
        QTest::newRow("renamed") << u"rename"_s << 0 << 1;
        QTest::newRow("its folder renamed") << u"folder"_s << 0 << 2;
    }

    void undoTakesBackOnlyWhatItMoved()
    {
        QFETCH(QString, change);
        QFETCH(int, replaced);
        QFETCH(int, missing);
        TempHome home;
        const QString down = home.path() + u"/Downloads"_s;
        const QString base = home.path() + u"/Documents"_s;
        const QDateTime lastRun(QDate(2026, 1, 1), QTime(9, 0), Qt::UTC);
        ApplyOptions applied = options(base, {down});
        applied.lastRunBefore = lastRun;
        QCOMPARE(Mover::apply(numberedFiles(down, 2, u"Work/Notes"_s), applied).moved, 2);
        const QString filed = base + u"/Work/Notes/file 0.txt"_s;
        if (change == u"edit") {
            QFile file(filed);
            QVERIFY(file.open(QIODevice::Append) && file.write(" and more") > 0);
        } else if (change == u"other") {
            QVERIFY(QFile::rename(filed, home.path() + u"/kept.txt"_s));
            FileFactory::write(filed, "a different file");
        } else if (change == u"link") {
            QVERIFY(QFile::rename(filed, home.path() + u"/kept.txt"_s));
            QVERIFY(QFile::link(home.path() + u"/kept.txt"_s, filed));
        } else if (change == u"rename") {
            QVERIFY(QFile::rename(filed, base + u"/Work/Notes/renamed.txt"_s));
        } else {
            QVERIFY(QDir().rename(base + u"/Work/Notes"_s, base + u"/Work/Renamed"_s));
        }

        const UndoResult undone = Mover::undoLatest();
        QCOMPARE(undone.replaced, replaced);
        QCOMPARE(undone.missing, missing);
        QCOMPARE(undone.restored, 2 - replaced - missing);
        QCOMPARE(undone.restoresLastRun, undone.restored > 0);
        QCOMPARE(undone.lastRunBefore, lastRun);
        if (change == u"edit")
            QCOMPARE(FileFactory::contents(down + u"/file 0.txt"_s), QByteArray("0 and more"));
        if (replaced || missing) {
            QVERIFY(!QFileInfo::exists(down + u"/file 0.txt"_s));
            QVERIFY(QFileInfo(filed).exists() || change == u"rename" || change == u"folder");
            // What stayed is still owed: once it is back in its place, the next undo takes it.
            if (change == u"other" || change == u"link") {
                QVERIFY(QFile::remove(filed));
                QVERIFY(QFile::rename(home.path() + u"/kept.txt"_s, filed));
            } else if (change == u"rename") {
                QVERIFY(QFile::rename(base + u"/Work/Notes/renamed.txt"_s, filed));
            } else {
                QVERIFY(QDir().rename(base + u"/Work/Renamed"_s, base + u"/Work/Notes"_s));
            }
            const UndoResult again = Mover::undoLatest();
            QCOMPARE(again.restored, change == u"folder" ? 2 : 1);
            QCOMPARE(again.stayed(), 0);
        }
        QCOMPARE(filesUnder(down).size(), 2);
        QVERIFY(!QFileInfo::exists(base + u"/Work"_s));
        QVERIFY(logNames().first().startsWith(u"undone-"_s));
    }

    void namesComeBackExactly()
    {
        TempHome home;
        const QString docs = home.path() + u"/Documents"_s;
        FileFactory::write(docs + u"/Old Stuff/letter.txt"_s, "letter");
        FileFactory::write(docs + u"/note.txt"_s, "note");
        const QStringList foldersBefore = foldersUnder(docs);
        // A plan that files the folder away, and a file into a new folder of the same name.
        const ApplyResult result = Mover::apply(
            {planned(docs + u"/Old Stuff"_s, u"Archive"_s), planned(docs + u"/note.txt"_s, u"Old Stuff"_s)},
            options(docs, {docs}));
        QCOMPARE(result.moved, 2);
        QCOMPARE(FileFactory::contents(docs + u"/Old Stuff/note.txt"_s), QByteArray("note"));

        const UndoResult undone = Mover::undoLatest();
        QCOMPARE(undone.restored, 2);
        QCOMPARE(undone.newNames, QStringList {});
        QCOMPARE(FileFactory::contents(docs + u"/Old Stuff/letter.txt"_s), QByteArray("letter"));
        QCOMPARE(FileFactory::contents(docs + u"/note.txt"_s), QByteArray("note"));
        QCOMPARE(foldersUnder(docs), foldersBefore);
    }

    // What is set aside for review shows in the review folder, even a hidden file: it goes there
    // without its leading dots, which is no rename, and undo gives every byte back under its
    // hidden name. Filed anywhere else, a hidden name stays hidden.
    void hiddenNamesShowInTheReviewFolder()
    {
        TempHome home;
        const QString base = home.path() + u"/Documents"_s;
        const QString down = home.path() + u"/Downloads"_s;
        const QString review = u"Brindlow Review/To Delete - Review First/Unfinished downloads"_s;
        struct Case
        {
            QString name;
            QString destFolder;
            QString landed; // below the home base
        };
        const QList<Case> cases {
            {u".org.chromium.Chromium.Xy9Zq0"_s, review, review + u"/org.chromium.Chromium (2).Xy9Zq0"_s},
            {u".com.google.Chrome.a1B2c3"_s, review, review + u"/com.google.Chrome.a1B2c3"_s},
            {u"..twice"_s, u"Brindlow Review/Needs You"_s, u"Brindlow Review/Needs You/twice"_s},
            {u"..."_s, review, review + u"/..."_s},
            {u".kept.txt"_s, u"Personal"_s, u"Personal/.kept.txt"_s},
            {u".almost.txt"_s, u"Brindlow Reviews"_s, u"Brindlow Reviews/.almost.txt"_s},
        };
        // A visible file already has the name the first one would take.
        FileFactory::write(base + u'/' + review + u"/org.chromium.Chromium.Xy9Zq0"_s, "an older one");
        QList<PlanItem> plan;
        QHash<QString, QByteArray> sums;
        for (const Case& c : cases) {
            const QByteArray bytes = QCryptographicHash::hash(c.name.toUtf8(), QCryptographicHash::Md5).repeated(500);
            FileFactory::write(down + u'/' + c.name, bytes);
            sums.insert(c.name, QCryptographicHash::hash(bytes, QCryptographicHash::Sha256));
            plan.append(planned(down + u'/' + c.name, c.destFolder, Category::junk));
            plan.last().kind = FileKind::other;
        }

        const ApplyResult result = Mover::apply(plan, options(base, {down}));
        QCOMPARE(result.moved, int(cases.size()));
        QCOMPARE(result.renamed, 0);
        const QList<MoveRecord> records = MoveLog::read(result.log)->records;
        QCOMPARE(records.size(), cases.size());
        for (qsizetype i = 0; i < cases.size(); ++i) {
            const Case& c = cases.at(i);
            QCOMPARE(records.at(i).from, down + u'/' + c.name);
            QCOMPARE(records.at(i).to, base + u'/' + c.landed);
            QCOMPARE(
                QCryptographicHash::hash(FileFactory::contents(base + u'/' + c.landed), QCryptographicHash::Sha256),
                sums.value(c.name));
        }

        const UndoResult undone = Mover::undoLatest();
        QCOMPARE(undone.restored, int(cases.size()));
        QCOMPARE(undone.newNames, QStringList {});
        for (const Case& c : cases) {
            QCOMPARE(QCryptographicHash::hash(FileFactory::contents(down + u'/' + c.name), QCryptographicHash::Sha256),
                     sums.value(c.name));
            QVERIFY2(!QFileInfo::exists(base + u'/' + c.landed), qPrintable(c.landed));
        }
        QCOMPARE(FileFactory::contents(base + u'/' + review + u"/org.chromium.Chromium.Xy9Zq0"_s),
                 QByteArray("an older one"));
    }

    void filesOpenForWritingStayAcrossDevices()
    {
        TempHome home;
        QTemporaryDir other(u"/dev/shm/brindlow-test-XXXXXX"_s);
        const std::optional<QString> elsewhere = otherDevice(other, home);
        if (!elsewhere)
            QSKIP("no second file system here");
        const QString down = home.path() + u"/Downloads"_s;
        const QString base = *elsewhere + u"/Documents"_s;
        FileFactory::write(down + u"/log.txt"_s, "line 1\n");
        FileFactory::write(down + u"/project/notes.txt"_s, "notes\n");
        FileFactory::write(down + u"/quiet.txt"_s, "quiet");
        // A writer keeps both open across the move, and writes after it.
        QFile log(down + u"/log.txt"_s);
        QFile notes(down + u"/project/notes.txt"_s);
        QVERIFY(log.open(QIODevice::Append) && notes.open(QIODevice::Append));
        const ApplyResult result = Mover::apply({planned(down + u"/log.txt"_s, u"Work"_s),
                                                 planned(down + u"/project"_s, u"Work"_s),
                                                 planned(down + u"/quiet.txt"_s, u"Work"_s)},
                                                options(base, {down}));
        std::thread writer([&] {
            log.write("line 2\n");
            notes.write("more\n");
            log.close();
            notes.close();
        });
        writer.join();
        QCOMPARE(result.moved, 1);
        QCOMPARE(result.skipped, 2);
        QCOMPARE(result.skippedItems.at(0).reason,
                 u"Another program has it open for writing, so it stayed where it was."_s);
        QCOMPARE(FileFactory::contents(down + u"/log.txt"_s), QByteArray("line 1\nline 2\n"));
        QCOMPARE(FileFactory::contents(down + u"/project/notes.txt"_s), QByteArray("notes\nmore\n"));
        QCOMPARE(filesUnder(base), (QMap<QString, QByteArray> {{u"Work/quiet.txt"_s, "quiet"}}));
        QCOMPARE(partialsUnder(base), 0);
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
        QCOMPARE(MoveLog::read(result.log)->filed(), 3);

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
