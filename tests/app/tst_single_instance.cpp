#include "platform/single_instance.h"
#include "support/file_factory.h"
#include "support/temp_home.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr uid_t kStranger = 65534; // "nobody"

const QString kInTheWay = u"is in the way"_s;
const QString kNotPrivate = u"must be a folder that only you can open"_s;
const QString kAnotherUser = u"another user's program answers"_s;

bool chownTo(const QString& path, uid_t uid)
{
    return ::lchown(QFile::encodeName(path).constData(), uid, uid) == 0;
}

bool chmodTo(const QString& path, mode_t mode)
{
    return ::chmod(QFile::encodeName(path).constData(), mode) == 0;
}

sockaddr_un addressOf(const QString& path)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    return address;
}

// A socket as a crashed program leaves it: bound, and nobody listening.
bool leaveSocket(const QString& path)
{
    const sockaddr_un address = addressOf(path);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const bool bound = ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return bound;
}

void relay(int from, int to)
{
    char buffer[256];
    for (ssize_t got; (got = ::read(from, buffer, sizeof buffer)) > 0 && ::write(to, buffer, size_t(got)) == got;) { }
}

// Another user's program in a child process, which passes on through a pipe whatever it hears.
// It listens at the socket, bound before the child becomes that user as only root could, or it
// knocks there and asks for the panel. Only plain system calls in the child: this process has
// threads.
struct Stranger
{
    pid_t pid = -1;
    int pipe[2] = {-1, -1};

    Stranger(bool listens, const QString& socket)
    {
        const sockaddr_un address = addressOf(socket);
        const auto* at = reinterpret_cast<const sockaddr*>(&address);
        char ready = 0;
        if (::pipe(pipe) != 0 || (pid = ::fork()) != 0) {
            if (listens && ::read(pipe[0], &ready, 1) != 1)
                pid = -1;
            ::fcntl(pipe[0], F_SETFL, O_NONBLOCK);
            return;
        }
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if ((listens && ::bind(fd, at, sizeof address) != 0) || ::setgroups(0, nullptr) != 0 || ::setgid(kStranger) != 0
            || ::setuid(kStranger) != 0)
            ::_exit(1);
        if (!listens) {
            if (::connect(fd, at, sizeof address) == 0 && ::write(fd, "open-panel\n", 11) == 11)
                relay(fd, pipe[1]);
            ::_exit(0);
        }
        if (::listen(fd, 8) != 0 || ::write(pipe[1], "!", 1) != 1)
            ::_exit(1);
        for (;;) {
            const int client = ::accept(fd, nullptr, nullptr);
            relay(client, pipe[1]);
            ::close(client);
        }
    }
    ~Stranger()
    {
        if (pid > 0 && ::kill(pid, SIGKILL) == 0)
            ::waitpid(pid, nullptr, 0);
        ::close(pipe[0]);
        ::close(pipe[1]);
    }

    bool ended()
    {
        if (pid > 0 && ::waitpid(pid, nullptr, WNOHANG) == pid)
            pid = -1;
        return pid <= 0;
    }
    QByteArray heard() const
    {
        char buffer[256];
        const ssize_t got = ::read(pipe[0], buffer, sizeof buffer);
        return QByteArray(buffer, std::max<ssize_t>(got, 0));
    }
};

} // namespace

class TestSingleInstance : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_runtime;
    QTemporaryDir m_tmp;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(chmodTo(m_tmp.path(), 01777));
        qputenv("TMPDIR", m_tmp.path().toUtf8());
    }

    void init()
    {
        qputenv("XDG_RUNTIME_DIR", m_runtime.path().toUtf8());
    }

    void secondStartWakesTheFirst()
    {
        TempHome home;
        {
            // This process runs first: a later real start hands over and ends at once.
            SingleInstance first;
            QVERIFY(first.listen());
            QSignalSpy woken(&first, &SingleInstance::panelRequested);
            QProcess second;
            second.start(QStringLiteral(BRINDLOW_APP), {});
            QVERIFY(second.waitForStarted());
            QTRY_COMPARE(woken.size(), 1);
            // It may have ended already while the hand-off was being answered.
            QTRY_COMPARE_WITH_TIMEOUT(second.state(), QProcess::NotRunning, 10000);
            QCOMPARE(second.exitStatus(), QProcess::NormalExit);
            QCOMPARE(second.exitCode(), 0);
        }

        // Now the real program runs first and this process knocks.
        QVERIFY(!SingleInstance::handOff(200));
        QProcess program;
        program.start(QStringLiteral(BRINDLOW_APP), {});
        QVERIFY(program.waitForStarted());
        QTRY_VERIFY(SingleInstance::handOff(200));
        SingleInstance late;
        QVERIFY(!late.listen());
        QVERIFY(late.problem().isEmpty());

        // A logout's SIGTERM ends it in order, with success.
        ::kill(pid_t(program.processId()), SIGTERM);
        QTRY_COMPARE_WITH_TIMEOUT(program.state(), QProcess::NotRunning, 10000);
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QVERIFY(!SingleInstance::handOff(200));
    }

    // Without a runtime folder the socket lives in a folder of the temporary folder that must be
    // this user's alone; anything else there is refused with a reason, and nothing is removed.
    void fallbackFolderMustBePrivate_data()
    {
        QTest::addColumn<QString>("setUp");
        QTest::addColumn<QString>("problem");
        QTest::newRow("nothing there yet") << QString() << QString();
        QTest::newRow("left by a crashed Brindlow") << u"stale socket"_s << QString();
        QTest::newRow("taken by another user first") << u"stranger's folder"_s << kNotPrivate;
        QTest::newRow("open to others") << u"open folder"_s << kNotPrivate;
        QTest::newRow("a link to a private folder") << u"link"_s << kNotPrivate;
        QTest::newRow("a plain file at the socket") << u"file"_s << kInTheWay;
    }

    void fallbackFolderMustBePrivate()
    {
        QFETCH(QString, setUp);
        QFETCH(QString, problem);
        qunsetenv("XDG_RUNTIME_DIR");
        const QString uid = QString::number(::geteuid());
        const QString folder = m_tmp.path() + u"/brindlow-"_s + uid;
        QDir(folder).removeRecursively();
        QFile::remove(folder);
        // Where the socket used to be for everyone without a runtime folder, and where Qt looks
        // for one first.
        const QString shared = m_tmp.path() + u"/brindlow-"_s + uid + u".socket"_s;
        QDir(m_tmp.path() + u"/runtime-root"_s).removeRecursively();
        QLocalServer::removeServer(shared);
        QLocalServer attacker;
        std::unique_ptr<QTemporaryDir> elsewhere;

        if (setUp == u"stranger's folder") {
            if (::geteuid() != 0)
                QSKIP("giving a folder to another user needs root");
            QVERIFY(QDir().mkpath(folder) && chmodTo(folder, 0777) && chownTo(folder, kStranger));
            QVERIFY(QDir().mkpath(m_tmp.path() + u"/runtime-root"_s)
                    && chownTo(m_tmp.path() + u"/runtime-root"_s, kStranger));
            QVERIFY(attacker.listen(shared));
        } else if (setUp == u"open folder") {
            QVERIFY(QDir().mkpath(folder) && chmodTo(folder, 0777));
        } else if (setUp == u"link") {
            elsewhere = std::make_unique<QTemporaryDir>();
            QVERIFY(QFile::link(elsewhere->path(), folder));
        } else if (setUp == u"file" || setUp == u"stale socket") {
            QVERIFY(QDir().mkpath(folder) && chmodTo(folder, 0700));
            const QString socket = SingleInstance::socketPath();
            if (setUp == u"file") {
                FileFactory::write(socket, "the person's notes");
            } else {
                QVERIFY(leaveSocket(socket));
            }
        }

        QVERIFY(!SingleInstance::handOff(300));
        QTest::qWait(50);
        QVERIFY(!attacker.hasPendingConnections());
        SingleInstance instance;
        QCOMPARE(instance.listen(), problem.isEmpty());
        QVERIFY2(instance.problem().contains(problem), qPrintable(instance.problem()));
        if (problem.isEmpty()) {
            QCOMPARE(FileFactory::mode(folder), 0700);
            QCOMPARE(QFileInfo(folder).ownerId(), ::geteuid());
            QLocalSocket client;
            client.connectToServer(SingleInstance::socketPath());
            QVERIFY(client.waitForConnected(1000));
        }
        if (setUp == u"file") {
            QCOMPARE(FileFactory::contents(SingleInstance::socketPath()), "the person's notes");
            // The tray program says so too, instead of ending without a word.
            TempHome home;
            QProcess program;
            program.start(QStringLiteral(BRINDLOW_APP), {});
            QVERIFY(program.waitForStarted());
            QByteArray said;
            QTRY_VERIFY_WITH_TIMEOUT((said += program.readAllStandardError()).contains(kInTheWay.toUtf8()), 10000);
            program.kill();
            program.waitForFinished();
        }
    }

    // The socket's folder keeps other users out; should it ever let them in, neither side talks
    // to a program of another user.
    void otherUsersAreNotTalkedTo_data()
    {
        QTest::addColumn<bool>("strangerListens");
        QTest::newRow("another user's program answers where Brindlow listens") << true;
        QTest::newRow("another user asks Brindlow for its panel") << false;
    }

    void otherUsersAreNotTalkedTo()
    {
        QFETCH(bool, strangerListens);
        if (::geteuid() != 0)
            QSKIP("being another user needs root");
        const QString socket = SingleInstance::socketPath();
        SingleInstance instance;
        QSignalSpy woken(&instance, &SingleInstance::panelRequested);
        if (strangerListens) {
            Stranger stranger(true, socket);
            QVERIFY(stranger.pid > 0);
            QVERIFY(!SingleInstance::handOff(500));
            QTest::qWait(100);
            QCOMPARE(stranger.heard(), QByteArray());
            QVERIFY(!instance.listen());
            QVERIFY2(instance.problem().contains(kAnotherUser), qPrintable(instance.problem()));
        } else {
            QVERIFY(instance.listen());
            QVERIFY(chmodTo(m_runtime.path(), 0711) && chmodTo(socket, 0777));
            Stranger stranger(false, socket);
            QTRY_VERIFY(stranger.ended());
            QCOMPARE(stranger.heard(), QByteArray());
            QVERIFY(woken.isEmpty());
            QVERIFY(chmodTo(m_runtime.path(), 0700));
        }
        QFile::remove(socket);
    }

    // A hand-off is one short line: a client that sends more without ending it is dropped.
    void endlessMessageIsCutOff()
    {
        SingleInstance instance;
        QVERIFY(instance.listen());
        QSignalSpy woken(&instance, &SingleInstance::panelRequested);
        QLocalSocket client;
        client.connectToServer(SingleInstance::socketPath());
        QVERIFY(client.waitForConnected(1000));
        client.write(QByteArray(64 * 1024, 'x'));
        QTRY_COMPARE_WITH_TIMEOUT(client.state(), QLocalSocket::UnconnectedState, 5000);
        QVERIFY(woken.isEmpty());
    }
};

QTEST_MAIN(TestSingleInstance)
#include "tst_single_instance.moc"
