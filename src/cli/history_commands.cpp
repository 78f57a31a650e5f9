#include "history_commands.h"

#include "commands.h"
#include "controller/app_state.h"
#include "visible_text.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace HistoryCommands {

namespace {

int usageError(QTextStream& err, const QString& problem)
{
    err << "brindlow-cli: " << VisibleText::of(problem) << "\nRun 'brindlow-cli --help' for usage.\n";
    return CliCommands::kUsage;
}

void load(History& history)
{
    QEventLoop loop;
    QObject::connect(&history, &History::changed, &loop, &QEventLoop::quit);
    history.reload();
    loop.exec();
}

// The apply a person numbered (1 the newest), or nothing when there is no such apply.
std::optional<int> applyIndex(const History& history, const QString& text)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    if (!ok || number < 1 || number > history.applies().size())
        return std::nullopt;
    return number - 1;
}

QString when(const PastApply& apply)
{
    return apply.started.isValid() ? apply.started.toLocalTime().toString(u"yyyy-MM-dd HH:mm"_s) : u"(unknown)"_s;
}

void printFiles(const PastApply& apply, QTextStream& out)
{
    for (const MoveRecord& record : apply.records) {
        const QFileInfo to(record.to);
        out << VisibleText::of(to.fileName()) << "\n    " << VisibleText::of(MoveHistory::shownFolder(record.from))
            << " -> " << VisibleText::of(MoveHistory::shownFolder(record.to));
        if (MoveHistory::isRenamed(record))
            out << ", renamed from " << VisibleText::of(QFileInfo(record.from).fileName());
        out << "\n    " << VisibleText::of(History::recordStateText(record)) << '\n';
    }
}

// The records of `apply` that the paths name, or nothing when one of them names none.
std::optional<QList<int>> recordsNamed(const PastApply& apply, const QStringList& paths, QTextStream& err)
{
    QList<int> records;
    for (const QString& path : paths) {
        const QString absolute = QFileInfo(path).absoluteFilePath();
        int found = -1;
        for (int i = 0; i < apply.records.size() && found < 0; ++i) {
            if (apply.records.at(i).to == absolute || apply.records.at(i).from == absolute)
                found = i;
        }
        if (found < 0) {
            usageError(err, u"'"_s + path + u"' was not moved by that apply"_s);
            return std::nullopt;
        }
        records.append(found);
    }
    return records;
}

} // namespace

int list(AppState& state, const QStringList& args, QTextStream& out, QTextStream& err)
{
    if (args.size() > 1)
        return usageError(err, u"history takes at most one apply number"_s);
    History& history = state.history();
    load(history);
    if (args.size() == 1) {
        const std::optional<int> index = applyIndex(history, args[0]);
        if (!index)
            return usageError(err, u"no apply numbered '"_s + args[0] + u"'; run 'brindlow-cli history'"_s);
        printFiles(history.applies().at(*index), out);
        return CliCommands::kOk;
    }
    if (history.applies().isEmpty())
        out << "Nothing applied yet\n";
    for (int i = 0; i < history.applies().size(); ++i) {
        const PastApply& apply = history.applies().at(i);
        out << i + 1 << "  " << when(apply) << "  " << VisibleText::of(History::countsText(apply)) << "  "
            << VisibleText::of(History::stateText(apply)) << '\n';
    }
    return CliCommands::kOk;
}

int putBack(AppState& state, const QStringList& args, QTextStream& out, QTextStream& err)
{
    if (args.size() < 2)
        return usageError(err, u"put-back takes an apply number and the files to put back"_s);
    History& history = state.history();
    load(history);
    const std::optional<int> index = applyIndex(history, args[0]);
    if (!index)
        return usageError(err, u"no apply numbered '"_s + args[0] + u"'; run 'brindlow-cli history'"_s);
    const std::optional<QList<int>> records = recordsNamed(history.applies().at(*index), args.mid(1), err);
    if (!records)
        return CliCommands::kUsage;
    QString message;
    QEventLoop loop;
    QObject::connect(&history, &History::finished, &loop, [&](const QString& text) {
        message = text;
        loop.quit();
    });
    if (const std::optional<QString> refused = history.putBack(*index, *records)) {
        err << VisibleText::of(*refused) << '\n';
        return CliCommands::kFailed;
    }
    loop.exec();
    // Each file named went back, or the terminal is told that some stayed.
    const UndoResult result = history.lastPutBack().value_or(UndoResult {});
    const bool allBack = result.stayed() == 0 && result.restored == records->size();
    (allBack ? out : err) << VisibleText::of(message) << '\n';
    return allBack ? CliCommands::kOk : CliCommands::kFailed;
}

} // namespace HistoryCommands
