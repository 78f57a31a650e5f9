#include "platform/directory_listing.h"
#include "platform/file_identity.h"
#include "platform/file_mover.h"
#include "platform/journal_file.h"
#include "platform/process_lock.h"
#include "support/file_factory.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>
#include <QtConcurrent>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using Type = FileIdentity::Type;
using Links = FileIdentity::Links;
using Outcome = FileMover::Outcome;

// The calls through which the rest of the program sees the file system.
class TestFileSystem : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString path(const QString& name) const
    {
        return m_dir.path() + u'/' + name;
    }

private Q_SLOTS:
    void initTestCase()
    {
        FileFactory::write(path(u"file.txt"_s), "twelve bytes");
        QVERIFY(QDir().mkpath(path(u"folder"_s)));
        QVERIFY(QFile::link(path(u"file.txt"_s), path(u"to-file"_s)));
        QVERIFY(QFile::link(path(u"folder"_s), path(u"to-folder"_s)));
        QVERIFY(QFile::link(path(u"gone"_s), path(u"dangling"_s)));
        QVERIFY(::mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600) == 0);
    }

    void identity_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("followed");
        QTest::addColumn<int>("itself");
        QTest::newRow("file") << u"file.txt"_s << int(Type::regular) << int(Type::regular);
        QTest::newRow("folder") << u"folder"_s << int(Type::directory) << int(Type::directory);
        QTest::newRow("link to a file") << u"to-file"_s << int(Type::regular) << int(Type::link);
        QTest::newRow("link to a folder") << u"to-folder"_s << int(Type::directory) << int(Type::link);
        QTest::newRow("link to nothing") << u"dangling"_s << int(Type::missing) << int(Type::link);
        QTest::newRow("pipe") << u"pipe"_s << int(Type::other) << int(Type::other);
        QTest::newRow("missing") << u"absent"_s << int(Type::missing) << int(Type::missing);
        QTest::newRow("below a file") << u"file.txt/inner"_s << int(Type::missing) << int(Type::missing);
    }

    void identity()
    {
        QFETCH(QString, name);
        QFETCH(int, followed);
        QFETCH(int, itself);
        QCOMPARE(int(FileIdentity::of(path(name)).type), followed);
        QCOMPARE(int(FileIdentity::ofEntry(path(name)).type), itself);
        QCOMPARE(FileIdentity::ofEntry(path(name)).exists(), itself != int(Type::missing));
        // The same answers relative to an open folder, which is how the scan asks.
        const DirectoryListing listing = DirectoryListing::read(m_dir.path());
        QCOMPARE(int(listing.identityOf(name.toUtf8().constData(), Links::follow).type), followed);
        QCOMPARE(int(listing.identityOf(name.toUtf8().constData(), Links::describe).type), itself);
    }

    void identityNamesOneFile()
    {
        const FileIdentity file = FileIdentity::of(path(u"file.txt"_s));
        const FileIdentity throughLink = FileIdentity::of(path(u"to-file"_s));
        QCOMPARE(file.size, 12);
        QVERIFY(file.inode == throughLink.inode && file.device == throughLink.device);
        QVERIFY(FileIdentity::ofEntry(path(u"to-file"_s)).inode != file.inode);
        QVERIFY(file.changedNs > 0);
    }

    // Whole units are rounded down, as the clock counts them, also before 1970.
    void modificationTimes_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<qint64>("nanoseconds");
        QTest::addColumn<qint64>("ms");
        QTest::newRow("epoch") << qint64(0) << qint64(0) << qint64(0);
        QTest::newRow("after") << qint64(1'700'000'000) << qint64(123'456'789) << qint64(1'700'000'000'123);
        QTest::newRow("before, whole ms") << qint64(-2) << qint64(500'000'000) << qint64(-1'500);
        QTest::newRow("before, with a part") << qint64(-2) << qint64(500'500'000) << qint64(-1'500);
        QTest::newRow("just before") << qint64(-1) << qint64(999'999'999) << qint64(-1);
    }

    void modificationTimes()
    {
        QFETCH(qint64, seconds);
        QFETCH(qint64, nanoseconds);
        QFETCH(qint64, ms);
        const QString file = path(u"dated.txt"_s);
        FileFactory::write(file, "x");
        const timespec times[2] {{0, UTIME_OMIT}, {time_t(seconds), long(nanoseconds)}};
        QVERIFY(::utimensat(AT_FDCWD, QFile::encodeName(file).constData(), times, 0) == 0);
        const FileIdentity identity = FileIdentity::of(file);
        QCOMPARE(identity.modifiedNs, seconds * 1'000'000'000 + nanoseconds);
        QCOMPARE(identity.modifiedMs(), ms);
        QCOMPARE(identity.modifiedSeconds(), seconds);
    }

    void listing_data()
    {
        QTest::addColumn<QList<QByteArray>>("names");
        QTest::newRow("empty") << QList<QByteArray> {};
        QTest::newRow("hidden and plain") << QList<QByteArray> {".hidden", "plain", "..x", "with space"};
        // Not text: the listing keeps the bytes, and what to do with them is the caller's choice.
        QTest::newRow("raw bytes") << QList<QByteArray> {"caf\xe9", "ok"};
    }

    void listing()
    {
        QFETCH(QList<QByteArray>, names);
        QTemporaryDir dir;
        const QByteArray folder = QFile::encodeName(dir.path());
        for (const QByteArray& name : names)
            QVERIFY(::close(::creat(QByteArray(folder + '/' + name).constData(), 0600)) == 0);
        const DirectoryListing listing = DirectoryListing::read(dir.path());
        // In the file system's order, which a directory iterator also follows (it passes over
        // names that are not text).
        QStringList iterated;
        for (QDirIterator it(dir.path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot); it.hasNext();)
            iterated.append(it.next().section(u'/', -1));
        QStringList listed;
        for (const QByteArray& name : listing.names()) {
            if (QFile::encodeName(QFile::decodeName(name)) == name)
                listed.append(QFile::decodeName(name));
        }
        QCOMPARE(listed, iterated);
        QList<QByteArray> sorted = listing.names();
        std::sort(sorted.begin(), sorted.end());
        std::sort(names.begin(), names.end());
        QCOMPARE(sorted, names);
        for (const QByteArray& name : names)
            ::unlink(QByteArray(folder + '/' + name).constData());
    }

    void unreadableFoldersListNothing()
    {
        for (const QString& name : {u"absent"_s, u"file.txt"_s}) {
            const DirectoryListing listing = DirectoryListing::read(path(name));
            QVERIFY(listing.names().isEmpty());
            QVERIFY(!listing.identityOf("anything", Links::describe).exists());
        }
    }

    // Lookups from many threads at once go through the folder that was listed, never through
    // whatever takes its name later.
    void lookupsStayWithTheListedFolder()
    {
        QTemporaryDir dir;
        for (int i = 0; i < 500; ++i)
            FileFactory::write(dir.path() + u"/a/f%1"_s.arg(i), QByteArray(i, 'x'));
        const DirectoryListing listing = DirectoryListing::read(dir.path() + u"/a"_s);
        QVERIFY(QDir().rename(dir.path() + u"/a"_s, dir.path() + u"/b"_s));
        FileFactory::write(dir.path() + u"/a/f1"_s, "another file");
        QCOMPARE(listing.names().size(), 500);
        const QList<qint64> sizes = QtConcurrent::blockingMapped(listing.names(), [&](const QByteArray& name) {
            return listing.identityOf(name.constData(), Links::describe).size;
        });
        for (qsizetype i = 0; i < sizes.size(); ++i)
            QCOMPARE(sizes[i], listing.names()[i].mid(1).toLongLong());
    }

    void journalIsAlwaysANewPrivateFile()
    {
        FileFactory::write(path(u"taken.json"_s), "someone else's");
        JournalFile refused;
        QVERIFY(!refused.create(path(u"taken.json"_s)));
        QVERIFY(!refused.error().isEmpty());
        refused.discard(); // it created nothing, so it removes nothing
        QCOMPARE(FileFactory::contents(path(u"taken.json"_s)), QByteArray("someone else's"));

        JournalFile journal;
        QVERIFY(journal.create(path(u"journal.json"_s)));
        QCOMPARE(FileFactory::mode(path(u"journal.json"_s)), 0600);
        QVERIFY(journal.writeAt("[\n]\n", 0) && journal.writeAt("1,\n]\n", 2) && journal.writeAt(" ", 1));
        QVERIFY(journal.flush());
        journal.close();
        journal.discard(); // closed: kept
        QCOMPARE(FileFactory::contents(path(u"journal.json"_s)), QByteArray("[ 1,\n]\n"));

        JournalFile dropped;
        QVERIFY(dropped.create(path(u"dropped.json"_s)));
        dropped.discard();
        QVERIFY(!FileIdentity::ofEntry(path(u"dropped.json"_s)).exists());
    }

    // A Brindlow killed while it holds the lock never keeps every other one out.
    void lockDiesWithItsProcess()
    {
        QTemporaryDir dir;
        const QString path = dir.path() + u"/busy.lock"_s;
        int ready[2];
        QCOMPARE(::pipe(ready), 0);
        const pid_t holder = ::fork();
        if (holder == 0) {
            const ProcessLock lock = ProcessLock::tryAcquire(path);
            const char held = lock.held() ? 'y' : 'n';
            (void)!::write(ready[1], &held, 1);
            ::pause();
            ::_exit(0);
        }
        char held = 0;
        QCOMPARE(::read(ready[0], &held, 1), 1);
        QCOMPARE(held, 'y');
        QVERIFY(!ProcessLock::tryAcquire(path).held());
        ::kill(holder, SIGKILL);
        ::waitpid(holder, nullptr, 0);
        QVERIFY(ProcessLock::tryAcquire(path).held());
        ::close(ready[0]);
        ::close(ready[1]);
    }

    void renameNeverReplaces_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<int>("outcome");
        QTest::newRow("free name") << u"free.txt"_s << int(Outcome::moved);
        QTest::newRow("a file is there") << u"there.txt"_s << int(Outcome::destinationTaken);
        QTest::newRow("a dangling link is there") << u"link"_s << int(Outcome::destinationTaken);
        QTest::newRow("an empty folder is there") << u"folder"_s << int(Outcome::destinationTaken);
        QTest::newRow("no such folder") << u"none/free.txt"_s << int(Outcome::failed);
    }

    void renameNeverReplaces()
    {
        QFETCH(QString, target);
        QFETCH(int, outcome);
        QTemporaryDir dir;
        const QString d = dir.path();
        FileFactory::write(d + u"/source.txt"_s, "source");
        FileFactory::write(d + u"/there.txt"_s, "there");
        QVERIFY(QDir().mkpath(d + u"/folder"_s));
        QVERIFY(QFile::link(d + u"/gone"_s, d + u"/link"_s));
        QCOMPARE(int(FileMover::rename(d + u"/source.txt"_s, d + u'/' + target)), outcome);
        const QString source = d + (outcome == int(Outcome::moved) ? u'/' + target : u"/source.txt"_s);
        QCOMPARE(FileFactory::contents(source), QByteArray("source"));
        QCOMPARE(FileFactory::contents(d + u"/there.txt"_s), QByteArray("there"));
        QVERIFY(FileIdentity::ofEntry(d + u"/link"_s).isLink());
        QVERIFY(QDir(d + u"/folder"_s).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestFileSystem)
#include "tst_file_system.moc"
