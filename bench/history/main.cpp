// History benchmark: writes 200 move logs of 500 moves each, as applies write them, then times
// reading them all the first time and again unchanged, and searching every file they moved.
//
//   build/bench/bench_history [--applies N] [--moves N]
#include "common/figures.h"
#include "model/store.h"
#include "planning/move_history.h"
#include "planning/move_log.h"
#include "planning/mover.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimeZone>

using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList kFolders {u"Personal/Photos"_s,
                            u"Work Admin/Invoices"_s,
                            u"Projects/Quorrel/Docs"_s,
                            u"Library/Manuals"_s,
                            u"Brindlow Review/To Delete - Review First/Installers"_s};

void writeLog(const QString& folder, int apply, int moves)
{
    const QDateTime started = QDateTime(QDate(2024, 1, 1), QTime(9, 0), QTimeZone::utc()).addDays(apply);
    MoveLog log(folder + u'/' + MoveLog::fileName(apply + 1, started));
    log.start(apply + 1, started, std::nullopt);
    const QString home = QDir::homePath();
    for (int i = 0; i < moves; ++i) {
        const QString name = u"scan %1-%2 receipt.pdf"_s.arg(apply).arg(i);
        MoveRecord record = MoveRecord::of(home + u"/Downloads/"_s + name,
                                           home + u"/Documents/"_s + kFolders.at(i % kFolders.size()) + u'/'
                                               + (i % 3 == 0 ? u"Receipt %1-%2.pdf"_s.arg(apply).arg(i) : name),
                                           started.addSecs(i));
        log.intend(i, record);
        log.moved(i, {2049, quint64(apply) * 100000 + quint64(i), 0}, false);
    }
    log.close();
}

} // namespace

int main(int argc, char* argv[])
{
    // The logs go where the program keeps its own, in a folder of the benchmark's.
    QTemporaryDir dataHome;
    qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome.path()));
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOption({u"applies"_s, u"How many logs."_s, u"N"_s, u"200"_s});
    parser.addOption({u"moves"_s, u"Moves in each."_s, u"N"_s, u"500"_s});
    parser.addHelpOption();
    parser.process(app);
    const int applies = parser.value(u"applies"_s).toInt();
    const int moves = parser.value(u"moves"_s).toInt();

    const QString folder = Store::logsDir();
    for (int apply = 0; apply < applies; ++apply)
        writeLog(folder, apply, moves);
    QTextStream(stdout) << "Move history: " << applies << " logs of " << moves << " moves\n" << Qt::flush;

    MoveHistory reader;
    QList<PastApply> read;
    // As the window opens: every log, then which apply an undo would take (here none is on the
    // disk, the worst case: every apply is looked at).
    const auto open = [&] {
        read = reader.read(folder);
        Mover::newestUndoableLog([&read](const QString& path) { return MoveHistory::contentsOf(read, path); });
    };
    Figures::report(u"open: every log read"_s, Figures::millis(open), u"ms"_s, u"< 1000 ms"_s);
    Figures::report(u"open again: nothing changed"_s, Figures::millis(open), u"ms"_s, u"< 1000 ms"_s);
    qsizetype found = 0;
    const auto search = [&](const QString& what, const QString& text) {
        Figures::report(u"search "_s + what,
                        Figures::millis([&] { found = MoveHistory::search(read, text).size(); }),
                        u"ms"_s,
                        u"< 100 ms"_s);
    };
    search(u"for one file"_s, u"scan 117-342"_s);
    search(u"for a folder"_s, u"work admin"_s);
    search(u"matching every file"_s, u"pdf"_s);
    search(u"matching nothing"_s, u"zebra"_s);
    QTextStream(stdout) << "(" << read.size() << " applies read; the last search found " << found << ")\n";
    return read.size() == applies ? 0 : 1;
}
