// Mover benchmark: applies and undoes plans of 1,000 and 25,000 files on one file system and
// prints the time spent moving beside the time spent keeping the move log, for the log as the
// mover keeps it (each record written before its move, flushed to disk every 20 records and at
// most ten times a second, the whole file rewritten once at the end) and for the plain way
// (re-encode every record and rewrite the whole file atomically every 20 moves). Both give the
// same final log, byte for byte.
//
//   build/bench/bench_mover [--dir DIR]
#include "model/store.h"
#include "planning/move_log.h"
#include "planning/mover.h"
#include "platform/file_io.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

QTextStream out(stdout);

double seconds(const QElapsedTimer& timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

// Every checkpoint re-encodes all records and rewrites the file whole.
double plainLog(const QList<MoveRecord>& records, const QString& path)
{
    QElapsedTimer timer;
    timer.start();
    QJsonArray array;
    for (qsizetype i = 0; i < records.size(); ++i) {
        array.append(records[i].toJson());
        if ((i + 1) % 20 == 0 || i + 1 == records.size())
            FileIo::writeAtomic(path, QJsonDocument(array).toJson(QJsonDocument::Indented));
    }
    return seconds(timer);
}

double incrementalLog(const QList<MoveRecord>& records, const QString& path)
{
    QElapsedTimer timer;
    timer.start();
    MoveLog log(path);
    log.start(1, QDateTime::currentDateTimeUtc(), std::nullopt);
    for (int i = 0; i < int(records.size()); ++i) {
        log.intend(i, records[i]);
        log.moved(i, *records[i].identity, false);
    }
    log.close();
    return seconds(timer);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

void run(int count, const QString& dir)
{
    const QString root = dir + u"/run-"_s + QString::number(count);
    QDir(root).removeRecursively();
    const QString source = root + u"/Downloads"_s;
    QDir().mkpath(source);
    QList<PlanItem> plan;
    for (int i = 0; i < count; ++i) {
        const QString path = source + u"/file %1.txt"_s.arg(i);
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write("x");
        PlanItem item;
        item.id = i;
        item.src = QUrl::fromLocalFile(path);
        item.destFolder = u"Projects/Client %1/Docs"_s.arg(i % 50);
        item.category = Category::forProject(u"Client"_s);
        item.confidence = Confidence::high;
        item.kind = FileKind::doc;
        item.size = 1;
        item.approved = true;
        plan.append(item);
    }

    QElapsedTimer timer;
    timer.start();
    ApplyOptions options;
    options.homeBase = root + u"/Documents"_s;
    options.scanRoots = {source};
    options.includeRenames = true;
    const ApplyResult result = Mover::apply(plan, options);
    const double apply = seconds(timer);
    const QList<MoveRecord> records = MoveLog::read(result.log)->records;
    timer.restart();
    const int undone = Mover::undoLatest().restored;
    const double undo = seconds(timer);

    // The log work of the apply, replayed on its own records, both ways.
    const double ours = incrementalLog(records, root + u"/ours.json"_s);
    const double plain = plainLog(records, root + u"/plain.json"_s);
    const bool same = MoveLog::read(root + u"/ours.json"_s)->records == records;
    const double moves = apply - ours;

    out << count << " items: moved " << result.moved << ", undone " << undone << '\n';
    out << "  apply " << apply << " s = moves " << moves << " s + log " << ours << " s (log / moves = " << ours / moves
        << ", target <= 1)\n";
    out << "  plain log rewrites " << plain << " s (plain / ours = " << plain / ours
        << "), log reads back: " << (same ? "yes" : "NO") << ", log size "
        << contentOf(root + u"/ours.json"_s).size() / 1024 << " KiB\n";
    out << "  undo " << undo << " s\n";
    QDir(root).removeRecursively();
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOption(
        {u"dir"_s, u"Scratch folder on the file system to measure."_s, u"dir"_s, u"/tmp/brindlow-bench-mover"_s});
    parser.addHelpOption();
    parser.process(app);
    const QString dir = parser.value(u"dir"_s);
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir + u"/data"_s));
    out.setRealNumberNotation(QTextStream::FixedNotation);
    out.setRealNumberPrecision(3);
    for (int count : {1000, 25000})
        run(count, dir);
    return 0;
}
