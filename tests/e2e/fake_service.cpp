#include "model/store.h"
#include "support/fake_claude_server.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

void writeFile(const QString& relativePath, const QByteArray& bytes)
{
    const QString path = QDir::home().filePath(relativePath);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("fake_service: cannot write %s", qPrintable(path));
}

// Every request leaves a line in a hidden file of the home, where no scan looks, so a test can
// prove that nothing was sent.
void recordRequest()
{
    QFile log(QDir::home().filePath(u".fake-service-requests"_s));
    if (!log.open(QIODevice::Append) || log.write("request\n") != 8)
        qFatal("fake_service: cannot record a request");
}

FakeClaudeServer::Response answer(const FakeClaudeServer::Request& request)
{
    recordRequest();
    if (request.json().value("system"_L1).toString() == u"Reply with OK.")
        return FakeClaudeServer::reply(u"OK"_s, 10, 1);
    return FakeClaudeServer::sortingReply(request, [](qint64) {
        return QJsonObject {{"category"_L1, u"personal"_s},
                            {"sub"_L1, u"Documents"_s},
                            {"confidence"_L1, u"high"_s},
                            {"reason"_L1, u"a letter"_s}};
    });
}

} // namespace

// The world a person's tray program meets in the end-to-end tests: an onboarded profile, a key
// and a few new files in $HOME (with --newcomer, the files alone: set-up is still to come; with
// --slow, every answer takes a second and a half, long enough to see the work under way), and the Messages API on
// loopback. Prints the API's address on one line, then serves until its standard input closes, so it never outlives the
// test driving it.
int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList options = app.arguments().mid(1);
    if (!options.contains(u"--newcomer"_s)) {
        Profile profile = Profile::defaults(QDir::homePath());
        profile.onboarded = true;
        Store::saveProfile(profile);
        Store::saveKey(u"sk-test"_s);
    }
    writeFile(u"Desktop/letter to the bank.txt"_s, "Dear bank, about my account");
    writeFile(u"Downloads/notes.txt"_s, "Notes from the Tuesday meeting");
    writeFile(u"Downloads/receipt.txt"_s, "Receipt: 2 coffees, 7.20");

    FakeClaudeServer server;
    server.setHandler(answer);
    if (options.contains(u"--slow"_s))
        server.setLatency(1500);
    std::printf("%s\n", server.url().toEncoded().constData());
    std::fflush(stdout);

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&app, &input] {
        char buffer[256];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0) {
            input.setEnabled(false);
            app.quit();
        }
    });
    return app.exec();
}
