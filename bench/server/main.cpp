// A deep refresh against a model server of one's own: 500 files (400 text documents, 100 photos
// the server refuses to see) sorted by a fake local server that takes --latency per request, with
// --in-flight requests at once. Prints the wall time beside the ideal (request waves x latency).
//
//   build/bench/bench_server [--latency 5000] [--in-flight 2] [--dir DIR]
#include "common/synthetic_photos.h"
#include "controller/refresh_pipeline.h"
#include "platform/clock.h"
#include "support/fake_claude_server.h"
#include "understanding/classifier.h"

#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTextStream>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("bench_server: cannot write %s", qPrintable(path));
}

void makeFiles(const QString& home)
{
    for (const QString& folder : {u"Desktop"_s, u"Downloads"_s, u"Documents"_s})
        QDir().mkpath(home + u'/' + folder);
    const QByteArray photo = SyntheticPhotos::encoded(SyntheticPhotos::photoLike(1600, 1200, 7), "JPEG", 85);
    for (int i = 0; i < 100; ++i)
        write(home + u"/Desktop/IMG_%1.jpg"_s.arg(i), SyntheticPhotos::uniqueJpeg(photo, QByteArray::number(i)));
    for (int i = 0; i < 400; ++i)
        write(home + u"/Downloads/notes %1.txt"_s.arg(i),
              "Notes about the spring launch, part " + QByteArray::number(i));
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOption({u"latency"_s, u"Milliseconds per request."_s, u"ms"_s, u"5000"_s});
    parser.addOption({u"in-flight"_s, u"Requests at once."_s, u"n"_s, u"2"_s});
    parser.addOption({u"dir"_s, u"Where the generated files live."_s, u"dir"_s, u"/tmp/brindlow-bench-server"_s});
    parser.addHelpOption();
    parser.process(app);
    const int latency = parser.value(u"latency"_s).toInt();
    const QString dir = parser.value(u"dir"_s);
    QDir(dir).removeRecursively();
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir + u"/data"_s));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(dir + u"/cache"_s));
    const QString home = dir + u"/home"_s;
    makeFiles(home);

    FakeClaudeServer server;
    FakeClaudeServer::LocalMode mode;
    mode.refuseImages = true;
    server.setLocalMode(mode);
    server.setLatency(latency);
    server.setHandler(FakeClaudeServer::sorting(
        [](qint64) { return FakeClaudeServer::decision(u"library"_s, QString(), u"notes"_s); }));

    RefreshPipeline::Request request;
    request.profile = Profile::defaults(home);
    request.profile.scanFolders = {u"Desktop"_s, u"Downloads"_s, u"Documents"_s};
    request.profile.sortWith = SortWith::ownServer;
    request.profile.server.address = server.url().toString();
    request.profile.server.sortingModel = mode.models.first();
    request.profile.server.inFlight = parser.value(u"in-flight"_s).toInt();
    request.profile.server.acceptsImages = false;
    request.mode = TidyMode::deep;
    request.home = home;
    request.clock = &SystemClock::instance();
    RefreshPipeline::Reports reports;
    reports.status = [](const QString&, bool) {};
    reports.total = [](int) {};
    reports.learned = [](const QList<Project>&, const QString&) {};
    reports.progress = [](int, int) {};

    QElapsedTimer timer;
    timer.start();
    const RefreshPipeline::Outcome outcome = RefreshPipeline::run(request, reports);
    const double wall = double(timer.elapsed()) / 1000;
    // The connection check and discovery go one at a time; the batches share the requests in flight.
    const int batches = int(std::ceil(400.0 / Classifier::kTextJob) + std::ceil(100.0 / Classifier::kVisualJob));
    const double ideal = (2 + std::ceil(double(batches) / request.profile.server.inFlight)) * latency / 1000.0;
    QTextStream out(stdout);
    out << "files planned " << outcome.plan.size() << ", requests " << server.requestCount() << ", most at once "
        << server.maxInFlight() << "\nwall " << wall << " s, ideal " << ideal << " s\n";
    return outcome.failure ? 1 : 0;
}
