#include "model/store.h"
#include "planning/move_log.h"
#include "planning/mover.h"
#include "platform/file_mover.h"
#include "support/file_factory.h"
#include "support/temp_home.h"

#include <QDir>
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

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

PlanItem planned(const QString& source, const QString& destFolder, const QString& category = u"personal"_s)
{
    PlanItem item;
    item.src = QUrl::fromLocalFile(source);
    item.destFolder = destFolder;
    item.category = category;
    item.confidence = u"high"_s;
    item.kind = QFileInfo(source).isDir() ? FileKind::folder : FileKind::doc;
    item.size = QFileInfo(source).size();
    item.approved = true;
    item.renameApproved = true;
    return item;
}

QStringList logNames()
{
    return QDir(Store::logsDir()).entryList(QDir::Files, QDir::Name);
}

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
        QCOMPARE(contentOf(d + u"/taken.txt"_s), QByteArray("theirs"));
        QCOMPARE(FileMover::move(d + u"/gone.txt"_s, d + u"/b.txt"_s), FileMover::Outcome::failed);
        QCOMPARE(FileMover::move(d + u"/a.txt"_s, d + u"/b.txt"_s), FileMover::Outcome::moved);
        QCOMPARE(contentOf(d + u"/b.txt"_s), QByteArray("mine"));
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

        QList<PlanItem> plan {
            planned(down + u"/report.pdf"_s, u"Personal"_s),
            planned(down + u"/IMG_1.jpg"_s, u"Personal/Photos"_s),
            planned(down + u"/dup.jpg"_s, u"Brindlow Review/Duplicates - Review First"_s, u"duplicate"_s),
            planned(down + u"/junk.zip"_s, u"Brindlow Review/To Delete - Review First/Old"_s, u"junk"_s),
            planned(down + u"/protected.pdf"_s, u"Brindlow Review/To Delete - Review First"_s, u"junk"_s),
            planned(down + u"/unsure.txt"_s, u"Brindlow Review/Needs You"_s, u"needs-you"_s),
            planned(down + u"/album"_s, u"Personal/Albums"_s),
            planned(down + u"/missing.txt"_s, u"Personal"_s),
            planned(down + u"/stay.txt"_s, u"../Elsewhere"_s),
            planned(down + u"/stay.txt"_s, QString()),
            planned(down + u"/stay.txt"_s, u"/etc"_s),
            planned(down + u"/stay.txt"_s, u"Personal/../.."_s),
            planned(down + u"/stay.txt"_s, u"Blocked/sub"_s),
            planned(down + u"/stay.txt"_s, u"Personal"_s)};
        plan[1].newName = u"Team offsite.jpg"_s;
        plan[3].kind = FileKind::archive;
        plan[4].kind = FileKind::pdf;
        plan[13].approved = false;
        const ApplyResult result = Mover::apply(plan, base, true);
        for (const QString& gone :
             {u"report.pdf"_s, u"IMG_1.jpg"_s, u"dup.jpg"_s, u"junk.zip"_s, u"unsure.txt"_s, u"album"_s})
            QVERIFY2(!QFileInfo::exists(down + u'/' + gone), qPrintable(gone));

        QCOMPARE(result.moved, 6);
        QCOMPARE(result.renamed, 1);
        QCOMPARE(result.junkBytes, qint64(3 + 5));
        QCOMPARE(result.needsYou, 1);
        QCOMPARE(result.skipped, 7);
        QCOMPARE(contentOf(base + u"/Personal/report (3).pdf"_s), QByteArray("new report"));
        QCOMPARE(contentOf(base + u"/Personal/report.pdf"_s), QByteArray("old report"));
        QCOMPARE(contentOf(base + u"/Personal/Photos/Team offsite.jpg"_s), QByteArray("photo"));
        QCOMPARE(contentOf(base + u"/Personal/Albums/album/one.jpg"_s), QByteArray("one"));
        QCOMPARE(contentOf(down + u"/protected.pdf"_s), QByteArray("keep"));
        QCOMPARE(contentOf(down + u"/stay.txt"_s), QByteArray("stay"));
        QCOMPARE(logNames().size(), 1);
        const QList<MoveRecord> records = *MoveLog::read(Store::logsDir() + u'/' + logNames().first());
        QCOMPARE(records.size(), 6);
        QCOMPARE(records.first().from, down + u"/report.pdf"_s);
        QCOMPARE(records.first().to, base + u"/Personal/report (3).pdf"_s);

        // Renames off: the old name travels.
        FileFactory::write(down + u"/IMG_2.jpg"_s, "photo 2");
        PlanItem second = planned(down + u"/IMG_2.jpg"_s, u"Personal/Photos"_s);
        second.newName = u"Never used.jpg"_s;
        QCOMPARE(Mover::apply({second}, base, false).renamed, 0);
        QCOMPARE(contentOf(base + u"/Personal/Photos/IMG_2.jpg"_s), QByteArray("photo 2"));
        QCOMPARE(logNames().size(), 2); // the same second gets a second log

        // Undo walks back: first the second apply, then the first, with taken places and gone folders.
        QCOMPARE(Mover::undoLatest(), 1);
        QCOMPARE(contentOf(down + u"/IMG_2.jpg"_s), QByteArray("photo 2"));
        FileFactory::write(down + u"/report.pdf"_s, "a newcomer");
        QVERIFY(QDir(base + u"/Personal/Albums/album"_s).exists());
        QVERIFY(QDir(down).rename(u"album"_s, u"gone"_s) || true);
        QDir(down + u"/gone"_s).removeRecursively();
        QFile::remove(base + u"/Brindlow Review/Duplicates - Review First/dup.jpg"_s); // the person emptied it
        QCOMPARE(Mover::undoLatest(), 5);
        QCOMPARE(contentOf(down + u"/report.pdf"_s), QByteArray("a newcomer"));
        QCOMPARE(contentOf(down + u"/report (2).pdf"_s), QByteArray("new report"));
        QCOMPARE(contentOf(down + u"/IMG_1.jpg"_s), QByteArray("photo"));
        QCOMPARE(contentOf(down + u"/album/one.jpg"_s), QByteArray("one"));
        QCOMPARE(contentOf(base + u"/Personal/report.pdf"_s), QByteArray("old report"));
        QCOMPARE(Mover::undoLatest(), 0); // every log is undone now

        // A folder is never moved into itself.
        FileFactory::write(base + u"/Stuff/keep.txt"_s, "keep");
        const ApplyResult inside = Mover::apply({planned(base + u"/Stuff"_s, u"Stuff/Inner"_s)}, base, true);
        QCOMPARE(inside.skipped, 1);
        QCOMPARE(contentOf(base + u"/Stuff/keep.txt"_s), QByteArray("keep"));
        const QStringList names = logNames();
        QCOMPARE(names.size(), 2);
        QVERIFY(names.at(0).startsWith(u"undone-moves-"_s) && names.at(1).startsWith(u"undone-moves-"_s));
    }

    void logCheckpointsStayReadable()
    {
        TempHome home;
        const QString path = Store::logsDir() + u"/moves-test.json"_s;
        MoveLog log(path);
        QList<MoveRecord> records;
        for (int i = 0; i < 45; ++i) {
            records.append({u"/from/%1"_s.arg(i),
                            u"/to/\"quoted\" é %1"_s.arg(i),
                            QDateTime(QDate(2025, 3, 9), QTime(8, 15, i), Qt::UTC)});
            log.append(records.last());
            if (log.size() % 20 == 0) {
                log.checkpoint();
                QCOMPARE(*MoveLog::read(path), records);
            }
        }
        // A process killed in the middle of a checkpoint leaves new text after the old array.
        QFile file(path);
        QVERIFY(file.open(QIODevice::Append));
        file.write(",\n    {\n        \"at\": \"2025-03-09T08:16:");
        file.close();
        QCOMPARE(MoveLog::read(path)->size(), 40);

        log.finish();
        QCOMPARE(contentOf(path), MoveLog::encode(records));
        QJsonArray array;
        for (const MoveRecord& record : records)
            array.append(record.toJson());
        QCOMPARE(MoveLog::encode(records), QJsonDocument(array).toJson(QJsonDocument::Indented));
        QCOMPARE(*MoveLog::read(path), records);
        QCOMPARE(MoveLog::read(home.path() + u"/nothing.json"_s), std::nullopt);
    }

    void killedApplyCanBeUndone()
    {
        TempHome home;
        const QString base = home.path() + u"/Documents"_s;
        const QString down = home.path() + u"/Downloads"_s;
        QList<PlanItem> plan;
        for (int i = 0; i < 400; ++i) {
            const QString source = down + u"/file %1.txt"_s.arg(i);
            FileFactory::write(source, "content " + QByteArray::number(i));
            plan.append(planned(source, u"Personal/Documents"_s));
        }
        const pid_t child = ::fork();
        if (child == 0) {
            // A slow clock stretches the apply so that it can be stopped half way.
            Mover::apply(plan, base, true, [] {
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
                return QDateTime::currentDateTime();
            });
            ::_exit(0);
        }
        QTRY_VERIFY_WITH_TIMEOUT(QDir(base + u"/Personal/Documents"_s).count() > 60, 10000);
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        QVERIFY2(WIFSIGNALED(status), "the apply finished before it could be stopped");

        const int moved = int(QDir(base + u"/Personal/Documents"_s).entryList(QDir::Files).size());
        QVERIFY(moved < 400);
        const QList<MoveRecord> logged = *MoveLog::read(*Store::latestLog());
        QVERIFY(logged.size() >= 40 && logged.size() <= moved);
        QCOMPARE(Mover::undoLatest(), int(logged.size()));
        // Nothing lost: every file is in one place or the other, with its own content.
        for (int i = 0; i < 400; ++i) {
            const QString name = u"file %1.txt"_s.arg(i);
            const QByteArray here = contentOf(down + u'/' + name);
            const QByteArray there = contentOf(base + u"/Personal/Documents/"_s + name);
            QVERIFY2((here == "content " + QByteArray::number(i)) != (there == "content " + QByteArray::number(i)),
                     qPrintable(name));
        }
        QCOMPARE(int(QDir(base + u"/Personal/Documents"_s).entryList(QDir::Files).size()), moved - int(logged.size()));
    }

    void acrossFileSystems()
    {
        // /dev/shm is a file system of its own on these machines.
        QTemporaryDir other(u"/dev/shm/brindlow-test-XXXXXX"_s);
        QVERIFY(other.isValid());
        TempHome home;
        struct stat here
        {
        }, there {};
        ::stat(QFile::encodeName(home.path()).constData(), &here);
        ::stat(QFile::encodeName(other.path()).constData(), &there);
        if (here.st_dev == there.st_dev)
            QSKIP("the temporary folder and /dev/shm share a file system here");

        const QString down = home.path() + u"/Downloads"_s;
        FileFactory::write(down + u"/deck.pdf"_s, QByteArray(3 << 20, 'p'));
        FileFactory::write(down + u"/site/index.html"_s, "<html>");
        FileFactory::write(down + u"/site/img/logo.png"_s, "png");
        QVERIFY(QFile::link(u"index.html"_s, down + u"/site/home.html"_s));
        QFile::setPermissions(down + u"/deck.pdf"_s,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup);
        const QDateTime stamp(QDate(2020, 1, 2), QTime(3, 4, 5), Qt::UTC);
        FileFactory::setModified(down + u"/deck.pdf"_s, stamp);
        FileFactory::setOriginAttribute(down + u"/deck.pdf"_s, "https://example.org/deck.pdf");

        const QString base = other.path() + u"/Documents"_s;
        const ApplyResult result = Mover::apply(
            {planned(down + u"/deck.pdf"_s, u"Work Admin"_s), planned(down + u"/site"_s, u"Projects/Site/Code"_s)},
            base,
            true);
        QCOMPARE(result.moved, 2);
        const QString deck = base + u"/Work Admin/deck.pdf"_s;
        QCOMPARE(contentOf(deck), QByteArray(3 << 20, 'p'));
        QCOMPARE(QFileInfo(deck).lastModified().toUTC(), stamp);
        struct stat info
        { };
        QCOMPARE(::stat(QFile::encodeName(deck).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, mode_t(0640));
        char origin[64] = {};
        QVERIFY(::getxattr(QFile::encodeName(deck).constData(), "user.xdg.origin.url", origin, sizeof origin) > 0);
        QCOMPARE(contentOf(base + u"/Projects/Site/Code/site/img/logo.png"_s), QByteArray("png"));
        QCOMPARE(QFileInfo(base + u"/Projects/Site/Code/site/home.html"_s).symLinkTarget(),
                 base + u"/Projects/Site/Code/site/index.html"_s);
        QVERIFY(!QFileInfo::exists(down + u"/deck.pdf"_s) && !QFileInfo::exists(down + u"/site"_s));

        QCOMPARE(Mover::undoLatest(), 2);
        QCOMPARE(contentOf(down + u"/deck.pdf"_s), QByteArray(3 << 20, 'p'));
        QCOMPARE(QFileInfo(down + u"/deck.pdf"_s).lastModified().toUTC(), stamp);
        QCOMPARE(contentOf(down + u"/site/index.html"_s), QByteArray("<html>"));
        QVERIFY(!QFileInfo::exists(deck));
    }
};

QTEST_GUILESS_MAIN(TestMover)
#include "tst_mover.moc"
