#include "cli_run.h"
#include "model/store.h"
#include "support/controller_fixture.h"
#include "support/file_factory.h"
#include "support/history_factory.h"
#include "support/plan_factory.h"
#include "support/tmpfs_mount.h"
#include "understanding/discovery.h"
#include "understanding/usage.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

using CliRun::cli;
using CliRun::environmentFor;
using CliRun::Run;

QJsonObject decide(const QString& text, qint64 id)
{
    // Decisions that depend on what the request says about the item.
    const QString line = text.section(u"\"id\":"_s + QString::number(id), 1, 1).section(u'\n', 0, 0)
        + text.section(u"= id "_s + QString::number(id) + u':', 1, 1).section(u'\n', 0, 0);
    if (line.contains(u"receipt"_s))
        return {{"category"_L1, u"personal"_s},
                {"sub"_L1, u"Finance & Receipts"_s},
                {"confidence"_L1, u"high"_s},
                {"reason"_L1, u"a receipt"_s}};
    if (line.contains(u"IMG_"_s))
        return {{"category"_L1, u"personal"_s},
                {"sub"_L1, u"Photos"_s},
                {"confidence"_L1, u"high"_s},
                {"new_name"_L1, u"Beach at sunset"_s},
                {"reason"_L1, u"holiday photo"_s}};
    return {{"category"_L1, u"library"_s}, {"confidence"_L1, u"high"_s}, {"reason"_L1, u"reference"_s}};
}

void serveEverything(FakeClaudeServer& server)
{
    server.setHandler([](const FakeClaudeServer::Request& request) {
        const QString system = request.json().value("system"_L1).toString();
        if (request.isConnectionCheck())
            return FakeClaudeServer::reply(u"OK"_s, 10, 1);
        if (system == Discovery::systemPrompt())
            return FakeClaudeServer::reply(
                uR"([{"name": "Quorrel", "aliases": ["quorrelcards"], "looks_like": "purple cards"}])"_s);
        const QString text = request.userText();
        return FakeClaudeServer::sortingReply(request, [text](qint64 id) { return decide(text, id); });
    });
}

QString kindOf(const QJsonArray& plan, const QString& fileName, QLatin1StringView key)
{
    for (const QJsonValue& item : plan) {
        if (QUrl(item["src"_L1].toString()).fileName() == fileName)
            return item[key].toString();
    }
    return u"<not planned>"_s;
}

} // namespace

class TestCliEndToEnd : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void helpAndUsage()
    {
        TempHome home;
        Run run = cli(home, {u"--help"_s});
        QCOMPARE(run.code, 0);
        QVERIFY(run.out.contains(u"refresh [--quick | --deep | --junk-only] [--replace]"_s));
        run = cli(home, {u"apply"_s, u"--help"_s});
        QCOMPARE(run.code, 0);
        QVERIFY(run.out.startsWith(u"Usage: brindlow-cli apply [--organize-only]"_s));
        QCOMPARE(cli(home, {u"fly"_s}).code, 2);
        QCOMPARE(cli(home, {u"refresh"_s, u"--fast"_s}).code, 2);
        QCOMPARE(cli(home, {u"refresh"_s}).code, 1); // not set up yet
    }

    void setupChecksTheKey()
    {
        TempHome home;
        FakeClaudeServer server;
        server.enqueue({401, "{}", 0});
        Run run = cli(home, {u"setup"_s}, "sk-wrong\n");
        QCOMPARE(run.code, 1);
        QCOMPARE(run.err.trimmed(), u"Brindlow couldn't sign in to Claude (error 401). Nothing was moved."_s);
        QVERIFY(!Store::loadProfile().onboarded);

        server.enqueue(FakeClaudeServer::reply(u"OK"_s));
        run = cli(home,
                  {u"setup"_s, u"--folders"_s, u"Desktop,Downloads"_s, u"--no-rename"_s, u"--sunday-reset"_s},
                  "  sk-from-stdin  \n");
        QCOMPARE(run.code, 0);
        QCOMPARE(server.requests().last().headers.value("x-api-key"), QByteArray("sk-from-stdin"));
        const Profile profile = Store::loadProfile();
        QVERIFY(profile.onboarded && !profile.renameFiles && profile.autoTidy);
        QCOMPARE(profile.scanFolders, (QStringList {u"Desktop"_s, u"Downloads"_s}));
        QCOMPARE(Store::loadKey(), u"sk-from-stdin"_s);

        // A key on the command line is readable by every user: refused, nothing stored.
        for (const QStringList& given :
             {QStringList {u"--key"_s, u"sk-visible"_s}, QStringList {u"--key=sk-visible"_s}}) {
            run = cli(home, QStringList {u"setup"_s, u"--no-test"_s} + given);
            QCOMPARE(run.code, 2);
            QVERIFY(run.err.contains(u"--key-file"_s) && !run.err.contains(u"sk-visible"_s));
            QCOMPARE(Store::loadKey(), u"sk-from-stdin"_s);
        }
        QVERIFY(!cli(home, {u"setup"_s, u"--help"_s}).out.contains(u"--key "_s));

        const QString keyFile = home.writeFile(u"secret/claude.key"_s, "sk-from-file\n");
        QCOMPARE(cli(home, {u"setup"_s, u"--no-test"_s, u"--key-file"_s, keyFile}).code, 0);
        QCOMPARE(Store::loadKey(), u"sk-from-file"_s);
        const QString pipe = home.path() + u"/secret/pipe"_s;
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        for (const QString& notAKeyFile : QStringList {pipe, home.path() + u"/secret"_s, u"/dev/zero"_s}) {
            run = cli(home, {u"setup"_s, u"--no-test"_s, u"--key-file"_s, notAKeyFile}, {}, 20000);
            QCOMPARE(run.code, 1);
            QCOMPARE(Store::loadKey(), u"sk-from-file"_s);
        }
    }

    void sortingWithAServerOfOnesOwn()
    {
        TempHome home;
        FakeClaudeServer server;
        FakeClaudeServer::LocalMode mode;
        mode.refuseImages = true;
        server.setLocalMode(mode);
        // Unsure of everything: Claude would take a second look, a server without a second model not.
        server.setHandler([](const FakeClaudeServer::Request& request) {
            if (request.isConnectionCheck() || request.imageCount() > 0)
                return FakeClaudeServer::reply(u"OK"_s, 10, 1);
            return FakeClaudeServer::sortingReply(request, [](qint64) {
                return QJsonObject {
                    {"category"_L1, u"library"_s}, {"confidence"_L1, u"low"_s}, {"reason"_L1, u"maybe"_s}};
            });
        });
        const QString h = home.path();
        FileFactory::jpeg(h + u"/Desktop/IMG_2041.jpg"_s, 800, 600);
        FileFactory::jpeg(h + u"/Desktop/IMG_2042.jpg"_s, 800, 600);
        FileFactory::pdf(h + u"/Downloads/receipt march.pdf"_s, {u"Receipt for your order"_s});
        for (int i = 0; i < 24; ++i)
            FileFactory::write(h + u"/Documents/notes %1.txt"_s.arg(i), "note " + QByteArray::number(i));
        const QString address = server.url().toString();

        // Bad input is refused on the command line and stores nothing.
        QCOMPARE(cli(home, {u"setup"_s, u"--server"_s, address}).code, 2);
        Run run = cli(home, {u"setup"_s, u"--server"_s, u"http://8.8.8.8:11434"_s, u"--model"_s, u"m"_s});
        QCOMPARE(run.code, 1);
        QVERIFY(run.err.contains(u"https://"_s));
        run = cli(home, {u"setup"_s, u"--server"_s, address, u"--model"_s, u"missing"_s});
        QCOMPARE(run.code, 1);
        QCOMPARE(run.err.trimmed(), u"Your model server refused the request (error 404): model 'missing' not found."_s);
        QVERIFY(!Store::loadProfile().onboarded);

        run = cli(home, {u"setup"_s, u"--server"_s, address, u"--model"_s, u"local-sorter"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QVERIFY(run.out.contains(u"doesn't take images"_s));
        QCOMPARE(Store::loadProfile().server.acceptsImages, false);
        QVERIFY(cli(home, {u"status"_s}).out.contains(u"Sorting with: your model server at "_s + address));

        const qsizetype tested = server.requestCount();
        run = cli(home, {u"refresh"_s, u"--deep"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QVERIFY(run.out.contains(u"No charge"_s));
        const QList<FakeClaudeServer::Request> asked = server.requests().mid(tested);
        QVERIFY(asked.size() > 2);
        for (const FakeClaudeServer::Request& request : asked) {
            QCOMPARE(request.json().value("model"_L1).toString(), u"local-sorter"_s);
            QVERIFY(!request.headers.contains("x-api-key"));
            QCOMPARE(request.imageCount(), 0);
        }
        const QJsonArray plan = QJsonDocument::fromJson(cli(home, {u"plan"_s, u"--json"_s}).out.toUtf8()).array();
        QCOMPARE(plan.size(), 27);
        // The pictures were described in words, and still answered.
        for (const QJsonValue& item : plan)
            QVERIFY2(item["category"_L1].toString() == u"library", qPrintable(item["src"_L1].toString()));
        // Nothing was priced as Claude.
        QVERIFY(cli(home, {u"status"_s}).out.contains(u"This month: $0.00, 0 files"_s));

        const QString keyFile = home.writeFile(u"secret/claude.key"_s, "sk-back\n");
        QCOMPARE(cli(home, {u"setup"_s, u"--claude"_s, u"--no-test"_s, u"--key-file"_s, keyFile}).code, 0);
        QCOMPARE(Store::loadProfile().sortWith, SortWith::claude);
        QVERIFY(cli(home, {u"status"_s}).out.contains(u"Sorting with: Claude"_s));
    }

    // Ctrl-C at the key prompt on a real terminal: the shell gets its echo back, and the process
    // that held the key in memory would leave no core dump behind.
    void echoComesBackAfterCtrlC()
    {
        TempHome home;
        const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
        QVERIFY(master >= 0 && ::grantpt(master) == 0 && ::unlockpt(master) == 0);
        const int terminal = ::open(::ptsname(master), O_RDWR | O_NOCTTY);
        QVERIFY(terminal >= 0);

        QByteArrayList environment;
        const QProcessEnvironment wanted = environmentFor(home);
        for (const QString& name : wanted.keys())
            environment.append((name + u'=' + wanted.value(name)).toLocal8Bit());
        std::vector<char*> envp;
        for (QByteArray& entry : environment)
            envp.push_back(entry.data());
        envp.push_back(nullptr);
        QByteArray program(BRINDLOW_CLI), command("setup"), noTest("--no-test");
        char* argv[] = {program.data(), command.data(), noTest.data(), nullptr};

        const pid_t pid = ::fork();
        if (pid == 0) {
            ::setsid();
            ::ioctl(terminal, TIOCSCTTY, 0);
            ::dup2(terminal, STDIN_FILENO);
            ::dup2(terminal, STDOUT_FILENO);
            ::dup2(terminal, STDERR_FILENO);
            ::execve(argv[0], argv, envp.data());
            ::_exit(127);
        }
        bool reaped = false;
        // A failed check must not leave the program waiting at its prompt.
        const auto cleanup = qScopeGuard([&] {
            if (!reaped) {
                ::kill(pid, SIGKILL);
                ::waitpid(pid, nullptr, 0);
            }
            ::close(terminal);
            ::close(master);
        });
        QByteArray shown;
        pollfd ready {master, POLLIN, 0};
        while (!shown.contains("Claude API key: ") && ::poll(&ready, 1, 60000) == 1) {
            char buffer[256];
            const ssize_t got = ::read(master, buffer, sizeof buffer);
            if (got <= 0)
                break;
            shown.append(buffer, got);
        }
        QVERIFY2(shown.contains("Claude API key: "), shown.constData());
        termios modes {};
        QCOMPARE(::tcgetattr(terminal, &modes), 0);
        QVERIFY(!(modes.c_lflag & ECHO)); // the key is not shown as it is typed
        rlimit core {1, 1};
        QCOMPARE(::prlimit(pid, RLIMIT_CORE, nullptr, &core), 0);
        QCOMPARE(core.rlim_max, rlim_t(0));

        ::kill(pid, SIGINT);
        int status = 0;
        QCOMPARE(::waitpid(pid, &status, 0), pid);
        reaped = true;
        QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT); // ended as Ctrl-C ends a program
        QCOMPARE(::tcgetattr(terminal, &modes), 0);
        QVERIFY(modes.c_lflag & ECHO);
        QCOMPARE(Store::loadKey(), std::nullopt);
    }

    void refreshReviewApplyUndo()
    {
        TempHome home;
        FakeClaudeServer server;
        serveEverything(server);
        const QString h = home.path();
        FileFactory::jpeg(h + u"/Desktop/IMG_2041.jpg"_s, 800, 600);
        FileFactory::pdf(h + u"/Downloads/receipt march.pdf"_s, {u"Receipt for your order"_s});
        FileFactory::zip(h + u"/Documents/letter.docx"_s, {{u"word/document.xml"_s, "<w:t>Dear Ann</w:t>"}});
        FileFactory::write(h + u"/Downloads/report.txt"_s, "quarterly numbers");
        FileFactory::write(h + u"/Downloads/report (1).txt"_s, "quarterly numbers");
        FileFactory::write(h + u"/Downloads/movie.mp4.crdownload"_s, "half a movie");
        FileFactory::write(h + u"/Downloads/Setup.dmg"_s, "installer bytes");
        FileFactory::write(h + u"/Downloads/photos.zip"_s, "zip bytes");
        FileFactory::write(h + u"/Downloads/photos/one.txt"_s, "unzipped");
        FileFactory::write(h + u"/Downloads/quorrel-deck.txt"_s, "pitch for the launch");
        for (int i = 0; i < 12; ++i)
            FileFactory::write(h + u"/Documents/notes %1.txt"_s.arg(i), "note " + QByteArray::number(i));

        QCOMPARE(cli(home, {u"setup"_s}, "sk-test\n").code, 0);
        Run run = cli(home, {u"refresh"_s, u"--deep"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QVERIFY(run.out.contains(u"To organize: "_s));
        QVERIFY(run.out.contains(u"Claude cost for this refresh: "_s));
        QCOMPARE(Store::loadProfile().projects.size(), 1); // learned from the files
        // Another refresh would drop the plan waiting: it has to be asked for.
        const Run refused = cli(home, {u"refresh"_s});
        QCOMPARE(refused.code, 1);
        QCOMPARE(refused.err, u"A plan is waiting for review: apply it, or drop it with 'brindlow-cli discard'.\n"_s);

        run = cli(home, {u"plan"_s, u"--json"_s});
        QCOMPARE(run.code, 0);
        const QJsonArray plan = QJsonDocument::fromJson(run.out.toUtf8()).array();
        QCOMPARE(plan.size(), 22);
        QCOMPARE(kindOf(plan, u"movie.mp4.crdownload"_s, "destFolder"_L1),
                 u"Brindlow Review/To Delete - Review First/Unfinished downloads"_s);
        QCOMPARE(kindOf(plan, u"Setup.dmg"_s, "destFolder"_L1),
                 u"Brindlow Review/To Delete - Review First/Installers"_s);
        QCOMPARE(kindOf(plan, u"photos.zip"_s, "destFolder"_L1),
                 u"Brindlow Review/To Delete - Review First/Already unzipped"_s);
        QCOMPARE(kindOf(plan, u"report (1).txt"_s, "category"_L1), u"duplicate"_s);
        QCOMPARE(kindOf(plan, u"quorrel-deck.txt"_s, "category"_L1), u"project:Quorrel"_s);
        QCOMPARE(kindOf(plan, u"receipt march.pdf"_s, "destFolder"_L1), u"Personal/Finance & Receipts"_s);
        QCOMPARE(kindOf(plan, u"IMG_2041.jpg"_s, "newName"_L1), u"Beach at sunset.jpg"_s);
        QVERIFY(cli(home, {u"plan"_s}).out.contains(u"Needs You 0"_s));

        // Edits: keep one note home, send another somewhere of the person's choosing.
        qint64 noteId = -1;
        qint64 movedId = -1;
        for (const QJsonValue& item : plan) {
            if (item["src"_L1].toString().endsWith(u"notes%200.txt"_s))
                noteId = item["id"_L1].toInteger();
            if (item["src"_L1].toString().endsWith(u"notes%201.txt"_s))
                movedId = item["id"_L1].toInteger();
        }
        QCOMPARE(cli(home, {u"leave"_s, QString::number(noteId)}).code, 0);
        QCOMPARE(cli(home, {u"move"_s, QString::number(movedId), u"Personal/Travel"_s}).code, 0);
        QCOMPARE(cli(home, {u"skip"_s, u"9999"_s}).code, 2);
        // Typed folders stay inside the home base.
        QCOMPARE(cli(home, {u"move"_s, QString::number(movedId), u"Personal/../../../Desktop"_s}).code, 2);
        QCOMPARE(cli(home, {u"add-project"_s, u"../Elsewhere"_s}).code, 2);
        QCOMPARE(Store::loadLessons().size(), 1);

        run = cli(home, {u"apply"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QVERIFY2(run.out.startsWith(u"Moved 21, renamed 1,"_s), qPrintable(run.out));
        const QString base = h + u"/Documents/"_s;
        QVERIFY(QFile::exists(base + u"Personal/Photos/Beach at sunset.jpg"_s));
        QVERIFY(QFile::exists(base + u"Personal/Finance & Receipts/receipt march.pdf"_s));
        QVERIFY(QFile::exists(base + u"Personal/Travel/notes 1.txt"_s));
        QVERIFY(QFile::exists(base + u"Projects/Quorrel/Docs/quorrel-deck.txt"_s));
        QVERIFY(QFile::exists(base + u"Brindlow Review/Duplicates - Review First/report (1).txt"_s));
        QVERIFY(QFile::exists(h + u"/Documents/notes 0.txt"_s));
        QVERIFY(!QFile::exists(h + u"/Desktop/IMG_2041.jpg"_s));

        run = cli(home, {u"undo"_s});
        QCOMPARE(run.code, 0);
        QCOMPARE(run.out.trimmed(), u"Restored 21 files to where they were."_s);
        QVERIFY(QFile::exists(h + u"/Desktop/IMG_2041.jpg"_s));
        QVERIFY(QFile::exists(h + u"/Downloads/report (1).txt"_s));
        QCOMPARE(cli(home, {u"undo"_s}).out.trimmed(), u"Nothing to undo."_s);

        run = cli(home, {u"refresh"_s, u"--junk-only"_s});
        QCOMPARE(run.code, 0);
        const QJsonArray junk = QJsonDocument::fromJson(cli(home, {u"plan"_s, u"--json"_s}).out.toUtf8()).array();
        QCOMPARE(junk.size(), 4);
        run = cli(home, {u"refresh"_s, u"--replace"_s, u"--junk-only"_s});
        QVERIFY2(run.code == 0 && run.out.contains(u"Claude cost for this refresh: "_s), qPrintable(run.err));
        QCOMPARE(cli(home, {u"refresh"_s, u"--replace"_s, u"--deep"_s, u"--quick"_s}).code, 2);
        QCOMPARE(cli(home, {u"discard"_s}).code, 0);
        QVERIFY(cli(home, {u"status"_s}).out.contains(u"Projects known: 1"_s));
    }

    // A person without a key: the rules and the kind table make the whole plan, and nothing of
    // the home is sent anywhere, not even a key check.
    void sortsWithoutAModel()
    {
        TempHome home;
        FakeClaudeServer server;
        serveEverything(server);
        const QString h = home.path();
        FileFactory::png(h + u"/Desktop/Screenshot from 2024-05-01 10-00-00.png"_s, 640, 400);
        FileFactory::jpeg(h + u"/Downloads/IMG_4032.jpg"_s, 800, 600);
        FileFactory::write(h + u"/Downloads/Inter-Regular.ttf"_s, "font bytes");
        FileFactory::write(h + u"/Downloads/song.mp3"_s, "music bytes");
        FileFactory::pdf(h + u"/Downloads/lease.pdf"_s, {u"Tenancy agreement"_s});
        FileFactory::write(h + u"/Downloads/backup.zip"_s, "zip bytes");
        FileFactory::setModified(h + u"/Downloads/backup.zip"_s, QDateTime(QDate(2021, 6, 1), QTime(12, 0)));
        FileFactory::write(h + u"/Downloads/blob.bin"_s, "\x7f\x01\x02 unknown");
        FileFactory::write(h + u"/Downloads/movie.mp4.crdownload"_s, "half a movie");
        FileFactory::write(h + u"/Downloads/notes.txt"_s, "same words");
        FileFactory::write(h + u"/Downloads/notes (1).txt"_s, "same words");

        // No key is asked for: the prompt would wait on an empty standard input and fail.
        Run run = cli(home, {u"setup"_s, u"--no-model"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QCOMPARE(Store::loadKey(), std::nullopt);
        QCOMPARE(Store::loadProfile().sortWith, SortWith::noModel);
        QVERIFY(cli(home, {u"status"_s}).out.contains(u"\nSorting without a model\n"_s));
        QCOMPARE(cli(home, {u"setup"_s, u"--no-model"_s, u"--key-file"_s, h + u"/k"_s}).code, 2);

        run = cli(home, {u"refresh"_s, u"--deep"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QVERIFY2(!run.out.contains(u"cost"_s), qPrintable(run.out));
        const QJsonArray plan = QJsonDocument::fromJson(cli(home, {u"plan"_s, u"--json"_s}).out.toUtf8()).array();
        const QList<std::tuple<QString, QString, QString>> expected {
            {u"Screenshot from 2024-05-01 10-00-00.png"_s, u"Library/Screenshots"_s, u"Sorted by kind: Screenshot"_s},
            {u"IMG_4032.jpg"_s, u"Personal/Photos"_s, u"Sorted by kind: Photo from a camera or phone"_s},
            {u"Inter-Regular.ttf"_s, u"Library/Fonts"_s, u"Sorted by kind: Font"_s},
            {u"song.mp3"_s, u"Personal/Music"_s, u"Sorted by kind: Music"_s},
            {u"lease.pdf"_s, u"Personal/Documents"_s, u"Sorted by kind: PDF document"_s},
            {u"backup.zip"_s, u"Archive/2021"_s, u"Sorted by kind: Archive"_s},
            {u"blob.bin"_s, u"Brindlow Review/Needs You"_s, u"Brindlow couldn't tell what this is without a model."_s},
            {u"movie.mp4.crdownload"_s,
             u"Brindlow Review/To Delete - Review First/Unfinished downloads"_s,
             u"Leftover from a download that never finished"_s},
            {u"notes (1).txt"_s,
             u"Brindlow Review/Duplicates - Review First"_s,
             u"Exact copy of a file you're keeping"_s},
        };
        for (const auto& [name, folder, reason] : expected) {
            QCOMPARE(kindOf(plan, name, "destFolder"_L1), folder);
            QCOMPARE(kindOf(plan, name, "reason"_L1), reason);
        }
        QCOMPARE(kindOf(plan, u"notes.txt"_s, "destFolder"_L1), u"Personal/Documents"_s);
        QCOMPARE(kindOf(plan, u"IMG_4032.jpg"_s, "confidence"_L1), u"medium"_s);
        QCOMPARE(plan.size(), expected.size() + 1);
        for (const QJsonValue& item : plan)
            QVERIFY(!item.toObject().contains("newName"_L1)); // names come only from a model

        run = cli(home, {u"apply"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        const QString base = h + u"/Documents/"_s;
        QVERIFY(QFile::exists(base + u"Personal/Photos/IMG_4032.jpg"_s));
        QVERIFY(QFile::exists(base + u"Archive/2021/backup.zip"_s));
        QVERIFY(QFile::exists(h + u"/Downloads/blob.bin"_s)); // Needs You waits for the person
        QCOMPARE(cli(home, {u"undo"_s}).code, 0);
        QVERIFY(QFile::exists(h + u"/Downloads/IMG_4032.jpg"_s)
                && QFile::exists(h + u"/Desktop/"_s + std::get<0>(expected[0])));

        QVERIFY(server.requests().isEmpty());
        QVERIFY(Usage::readLog().months.isEmpty());
        QCOMPARE(Store::loadProfile().projects.size(), 0); // no discovery
    }

    // Applies listed newest first and numbered, the files of one, and some of them put back.
    void historyAndPutBack()
    {
        TempHome home;
        home.saveProfile();
        const QString h = home.path();
        HistoryFactory::apply(h,
                              {{u"Downloads/a.txt"_s, u"Sorted"_s},
                               {u"Downloads/b.txt"_s, u"Sorted"_s, u"bee.txt"_s},
                               {u"Downloads/c.txt"_s, u"Sorted"_s}});
        HistoryFactory::apply(h, {{u"Desktop/d.txt"_s, u"Later"_s}});

        Run run = cli(home, {u"history"_s});
        QCOMPARE(run.code, 0);
        const QStringList lines = run.out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines.at(0).startsWith(u"1  "_s)
                     && lines.at(0).endsWith(u"1 moved \u00B7 0 renamed \u00B7 0 set aside  Applied"_s),
                 qPrintable(run.out));
        QVERIFY(lines.at(1).endsWith(u"3 moved \u00B7 1 renamed \u00B7 0 set aside  Applied"_s));
        run = cli(home, {u"history"_s, u"2"_s});
        QCOMPARE(run.code, 0);
        QVERIFY2(run.out.contains(u"bee.txt\n    Downloads -> Documents/Sorted, renamed from b.txt\n    Filed\n"_s),
                 qPrintable(run.out));

        // Named by where it was filed, or where it came from.
        run = cli(home, {u"put-back"_s, u"2"_s, h + u"/Documents/Sorted/bee.txt"_s, h + u"/Downloads/c.txt"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QCOMPARE(run.out, u"Put 2 files back where they were.\n"_s);
        QVERIFY(QFile::exists(h + u"/Downloads/b.txt"_s) && QFile::exists(h + u"/Downloads/c.txt"_s));
        QVERIFY(cli(home, {u"history"_s}).out.contains(u"Partly undone, 1 still filed"_s));
        QVERIFY(cli(home, {u"history"_s, u"2"_s})
                    .out.contains(u"bee.txt\n    Downloads -> Documents/Sorted, renamed from b.txt\n    Put back\n"_s));

        // A file the person moved since stays where it is, and the terminal is told.
        QVERIFY(QFile::rename(h + u"/Documents/Sorted/a.txt"_s, h + u"/Documents/a.txt"_s));
        run = cli(home, {u"put-back"_s, u"2"_s, h + u"/Documents/Sorted/a.txt"_s});
        QCOMPARE(run.code, 1);
        QCOMPARE(run.err, u"1 file stayed: it is no longer where Brindlow filed it.\n"_s);
        QVERIFY(QFile::exists(h + u"/Documents/a.txt"_s));

        QCOMPARE(cli(home, {u"history"_s, u"3"_s}).code, 2);
        QCOMPARE(cli(home, {u"history"_s, u"x"_s}).code, 2);
        QCOMPARE(cli(home, {u"put-back"_s, u"1"_s}).code, 2);
        QCOMPARE(cli(home, {u"put-back"_s, u"1"_s, h + u"/Downloads/nothing.txt"_s}).code, 2);
        QVERIFY(QFile::exists(h + u"/Documents/Later/d.txt"_s));
    }

    // The copy the person filed is the one kept, however long its name; the plan says which.
    void filedCopyIsKeptOverItsDownload()
    {
        TempHome home;
        FakeClaudeServer server;
        serveEverything(server);
        const QString h = home.path();
        FileFactory::write(h + u"/Documents/Debian Policy.epub"_s, "the policy, as a book");
        FileFactory::write(h + u"/Downloads/policy.epub"_s, "the policy, as a book");
        QCOMPARE(cli(home, {u"setup"_s}, "sk-test\n").code, 0);
        QCOMPARE(cli(home, {u"refresh"_s}).code, 0);
        const QJsonArray plan = QJsonDocument::fromJson(cli(home, {u"plan"_s, u"--json"_s}).out.toUtf8()).array();
        QCOMPARE(kindOf(plan, u"policy.epub"_s, "category"_L1), u"duplicate"_s);
        QCOMPARE(kindOf(plan, u"policy.epub"_s, "keptCopy"_L1), h + u"/Documents/Debian Policy.epub"_s);
        const QString shown = cli(home, {u"plan"_s}).out;
        QVERIFY2(shown.contains(u"(Same as Documents/Debian Policy.epub, which stays)"_s), qPrintable(shown));
    }

    void failuresMoveNothing()
    {
        TempHome home;
        FakeClaudeServer server;
        serveEverything(server);
        FileFactory::write(home.path() + u"/Desktop/a.txt"_s, "a");
        QCOMPARE(cli(home, {u"setup"_s}, "sk-test\n").code, 0);

        const QList<std::pair<FakeClaudeServer::Response, QString>> failures {
            {{400, R"({"error":"credit balance is too low"})", 0},
             u"Your Claude credits ran out. Top up at console.anthropic.com, then refresh again. Nothing was moved."_s},
            {{401, "{}", 0}, u"Brindlow couldn't sign in to Claude (error 401). Nothing was moved."_s},
        };
        for (const auto& [response, text] : failures) {
            server.enqueue(response);
            const Run run = cli(home, {u"refresh"_s});
            QCOMPARE(run.code, 1);
            QCOMPARE(run.err.section(u'\n', -2, -2), text);
            // A failed refresh leaves nothing that an apply could move.
            const Run apply = cli(home, {u"apply"_s});
            QCOMPARE(apply.code, 1);
            QCOMPARE(apply.err.trimmed(), u"Nothing waiting"_s);
            QVERIFY(QFile::exists(home.path() + u"/Desktop/a.txt"_s));
        }

        // A failure the client does not retry ends the refresh with the service's own words; the
        // retry schedule of an overloaded service is the client's to test, with a test clock.
        server.enqueue({400, R"({"error":"max_tokens too large"})", 0});
        const Run refused = cli(home, {u"refresh"_s});
        QCOMPARE(refused.code, 1);
        QCOMPARE(refused.err.trimmed(), u"Claude API error 400: max_tokens too large"_s);
        QCOMPARE(server.requestCount(), 4); // the set-up check, then one per refresh: none repeated
        QVERIFY(Store::loadPlan().isEmpty());

        // Another Brindlow at work: this one waits its turn. The holder says when it has the lock
        // and lets go when its input closes.
        QProcess holder;
        holder.start(u"flock"_s,
                     {u"--close"_s, Store::dir() + u"/busy.lock"_s, u"sh"_s, u"-c"_s, u"echo locked; read x"_s});
        QVERIFY(holder.waitForReadyRead(60000));
        const Run busy = cli(home, {u"refresh"_s});
        holder.closeWriteChannel();
        QVERIFY(holder.waitForFinished());
        QCOMPARE(busy.code, 1);
        QVERIFY(busy.err.contains(u"already busy with your files"_s));
    }

    // Refreshes that cannot sort: every request refused with a status the client has no words
    // for (the plan of what failed is kept, the run fails), or no usable key (nothing is asked).
    void refreshesThatCannotSort()
    {
        TempHome home;
        FakeClaudeServer server;
        server.setHandler([](const FakeClaudeServer::Request& request) {
            if (request.isConnectionCheck())
                return FakeClaudeServer::reply(u"OK"_s);
            return FakeClaudeServer::Response {422, R"({"error":{"message":"batch rejected"}})", 0};
        });
        FileFactory::write(home.path() + u"/Desktop/a.txt"_s, "a");
        QCOMPARE(cli(home, {u"setup"_s}, "sk-test\n").code, 0);
        Run run = cli(home, {u"refresh"_s});
        QCOMPARE(run.code, 1);
        QCOMPARE(run.err.trimmed(), u"Claude API error 422: batch rejected"_s);
        QCOMPARE(Store::loadPlan().size(), 1);

        const int asked = server.requestCount();
        home.writeFile(u".local/share/Brindlow/config.json"_s, "{\"apiKey\": \"sk-");
        run = cli(home, {u"refresh"_s});
        QCOMPARE(run.code, 1);
        QCOMPARE(run.err.trimmed(), u"Your Claude API key is missing or damaged. Run 'brindlow-cli setup'."_s);
        QCOMPARE(server.requestCount(), asked);

        // A page that is not an answer, where the connection check expects one: a portal or a
        // proxy is in the way, not Claude.
        QCOMPARE(cli(home, {u"setup"_s}, "sk-test\n").code, 0);
        server.setHandler([](const FakeClaudeServer::Request&) {
            return FakeClaudeServer::Response {200, "<html>Sign in to the hotel wifi</html>", 0};
        });
        run = cli(home, {u"refresh"_s, u"--replace"_s}); // the plan of what failed still waits
        QCOMPARE(run.code, 1);
        QCOMPARE(run.err.trimmed(), u"Couldn't reach Claude. Check your internet connection and try again."_s);
    }

    // A home base that is not inside the home is reset, and the person is told once.
    void homeBaseResetIsSaidOnce()
    {
        TempHome home;
        Profile profile = home.saveProfile(true);
        profile.homeBase = u"/srv/shared/sorted"_s;
        Store::saveProfile(profile);
        QCOMPARE(cli(home, {u"plan"_s}).code, 0); // says nothing, so it is not yet told
        const QString said = u"Your home base was reset to "_s + home.path()
            + u"/Documents: /srv/shared/sorted is not a folder inside your home folder."_s;
        QVERIFY2(cli(home, {u"status"_s}).out.contains(said), qPrintable(said));
        QVERIFY(!cli(home, {u"status"_s}).out.contains(u"reset"_s));
        QCOMPARE(Store::loadProfile().homeBase, home.path() + u"/Documents"_s);
    }

    // Ten terminals adding a project at once, and the tray program changing the profile beside
    // them: every change is kept, none written over another.
    void profileChangesAtOnceAreAllKept()
    {
        ControllerFixture f;
        const auto tray = f.start();
        std::vector<std::unique_ptr<QProcess>> terminals;
        for (int i = 0; i < 10; ++i) {
            terminals.push_back(std::make_unique<QProcess>());
            terminals.back()->setProcessEnvironment(environmentFor(f.home));
            terminals.back()->start(QStringLiteral(BRINDLOW_CLI), {u"add-project"_s, u"Project %1"_s.arg(i)});
        }
        Profile changed = tray->preferences().profile();
        changed.autoTidy = true;
        tray->preferences().setProfile(changed);
        for (const auto& terminal : terminals) {
            QVERIFY(terminal->waitForFinished(60000));
            QCOMPARE(terminal->exitCode(), 0);
            QVERIFY(terminal->readAllStandardOutput().startsWith("Added Project "));
        }
        // The tray program changes the profile again, after the terminals: their projects stay.
        changed = tray->preferences().profile();
        changed.renameFiles = false;
        tray->preferences().setProfile(changed);
        QVERIFY(tray->review().flushEdits());
        const Profile stored = Store::loadProfile();
        QCOMPARE(stored.projects.size(), 10);
        QVERIFY(stored.autoTidy && !stored.renameFiles);
        QTRY_COMPARE(tray->preferences().profile().projects.size(), 10); // and the tray program knows them
    }

    void editsOnAFullDiskSaySo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("skip") << QStringList {u"skip"_s, u"1"_s};
        QTest::newRow("move") << QStringList {u"move"_s, u"1"_s, u"Personal/Travel"_s};
        QTest::newRow("rename") << QStringList {u"rename"_s, u"off"_s, u"1"_s};
        QTest::newRow("add-project") << QStringList {u"add-project"_s, u"Quorrel"_s};
    }

    void editsOnAFullDiskSaySo()
    {
        QFETCH(QStringList, arguments);
        if (!TmpfsMount::allowed())
            QSKIP("a full disk is a small file system mounted by the test, which needs root");
        TempHome home;
        QDir().mkpath(home.supportDir());
        const TmpfsMount disk(home.supportDir(), false, "size=256k");
        QVERIFY(disk.isMounted());
        home.saveProfile(true);
        Store::saveKey(u"sk-test"_s);
        PlanItem item = PlanFactory::item(home.path() + u"/Downloads"_s,
                                          1,
                                          u"quorrel deck.txt"_s,
                                          Category::needsYou,
                                          u"Brindlow Review/Needs You"_s);
        item.approved = true;
        item.newName = u"Deck.txt"_s;
        item.renameApproved = true;
        Store::savePlan({item});
        disk.fill();
        const QString folder = home.supportDir() + u'/';
        const QByteArray plan = FileFactory::contents(folder + u"pending-plan.json"_s);
        const QByteArray profile = FileFactory::contents(folder + u"profile.json"_s);

        const Run run = cli(home, arguments);
        QCOMPARE(run.code, 1);
        QCOMPARE(run.err.trimmed(), u"Couldn't save your change: the disk is full."_s);
        QVERIFY(!run.out.contains(u"Added"_s));
        QCOMPARE(FileFactory::contents(folder + u"pending-plan.json"_s), plan);
        QCOMPARE(FileFactory::contents(folder + u"profile.json"_s), profile);
    }

    void statusNeverBlocksOnOddUsageFiles_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("thisMonth");
        QTest::newRow("recorded") << u"file"_s << u"This month: $0.25, 7 files"_s;
        QTest::newRow("named pipe") << u"fifo"_s << u"This month: $0.00, 0 files"_s;
        QTest::newRow("endless device") << u"zero"_s << u"This month: $0.00, 0 files"_s;
    }

    void statusNeverBlocksOnOddUsageFiles()
    {
        QFETCH(QString, kind);
        QFETCH(QString, thisMonth);
        TempHome home;
        const QByteArray path = QFile::encodeName(Store::dir() + u"/usage.json"_s);
        if (kind == u"fifo") {
            QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        } else if (kind == u"zero") {
            QCOMPARE(::symlink("/dev/zero", path.constData()), 0);
        } else {
            const QString month = QDateTime::currentDateTime().toString(u"yyyy-MM"_s);
            home.writeFile(u".local/share/Brindlow/usage.json"_s,
                           R"({"totalUSD": 1, "runs": [], "months": {")" + month.toUtf8()
                               + R"(": {"usd": 0.25, "files": 7}}})");
        }
        const Run run = cli(home, {u"status"_s}, {}, 20000);
        QCOMPARE(run.code, 0);
        QVERIFY2(run.out.contains(thisMonth), qPrintable(run.out));
    }

    void planShowsControlCharactersVisibly()
    {
        TempHome home;
        const QString name = u"bill\x1b]0;pwned\x07.pdf"_s;
        PlanItem item = PlanFactory::item(
            home.path() + u"/Downloads"_s, 7, name, Category::personal, u"Personal/\u202Efdp.exe"_s);
        item.reason = u"\r\x1b[2Kall good\u009b"_s;
        item.newName = u"Bill\nmarch.pdf"_s;
        item.renameApproved = true;
        Store::savePlan({item});

        const Run run = cli(home, {u"plan"_s});
        QCOMPARE(run.code, 0);
        for (const char16_t hidden : {u'\x1b', u'\x07', u'\r', u'\x9b', u'\x202e'})
            QVERIFY2(!run.out.contains(hidden), qPrintable(run.out));
        QVERIFY2(run.out.contains(u"#7 Downloads/bill\\u{1B}]0;pwned\\u{7}.pdf -> Personal/\\u{202E}fdp.exe as "
                                  u"\"Bill\\u{A}march.pdf\"  (\\u{D}\\u{1B}[2Kall good\\u{9B})"_s),
                 qPrintable(run.out));
    }
};

QTEST_MAIN(TestCliEndToEnd)
#include "tst_cli_end_to_end.moc"
