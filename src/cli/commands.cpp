#include "commands.h"

#include "controller/app_state.h"
#include "model/store.h"
#include "terminal.h"
#include "understanding/claude_api.h"
#include "understanding/usage.h"

#include <QDir>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QTimer>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace CliCommands {

namespace {

struct Command
{
    QString synopsis;
    QString help;
};

const QMap<QString, Command>& commands()
{
    static const QMap<QString, Command> table {
        {u"setup"_s,
         {u"setup --key KEY [--folders Desktop,Downloads,Documents] [--model ID] [--no-rename] [--keep-installers] "
          u"[--sunday-reset] [--no-test]"_s,
          u"Sets Brindlow up: stores your Claude API key (read from standard input without echo when --key is "
          u"left out), checks it with one tiny request unless --no-test, and saves your preferences."_s}},
        {u"refresh"_s,
         {u"refresh [--quick | --deep | --junk-only]"_s,
          u"Looks through your folders and prepares a plan (quick by default). Nothing moves until you apply it."_s}},
        {u"plan"_s, {u"plan [--json]"_s, u"Shows the plan waiting for review by tab, with item ids."_s}},
        {u"approve"_s, {u"approve ID..."_s, u"Includes items in the next apply."_s}},
        {u"skip"_s, {u"skip ID..."_s, u"Leaves items out of the next apply."_s}},
        {u"rename"_s, {u"rename on|off ID..."_s, u"Accepts or refuses proposed new names."_s}},
        {u"move"_s,
         {u"move ID FOLDER"_s, u"Sends an item to a folder of your choosing, relative to your home base."_s}},
        {u"leave"_s, {u"leave ID"_s, u"Leaves an item where it is."_s}},
        {u"add-project"_s, {u"add-project NAME"_s, u"Adds a project and files the items that mention it."_s}},
        {u"suggestions"_s, {u"suggestions"_s, u"Lists project names the plan keeps suggesting."_s}},
        {u"apply"_s,
         {u"apply [--organize-only]"_s, u"Moves the approved items (and renames them, unless --organize-only)."_s}},
        {u"undo"_s, {u"undo"_s, u"Puts back the files of the last apply; again to go further back."_s}},
        {u"discard"_s, {u"discard"_s, u"Drops the plan waiting for review."_s}},
        {u"status"_s, {u"status"_s, u"What Brindlow knows: last refresh, new files, folders, projects, cost."_s}},
    };
    return table;
}

void printUsage(QTextStream& stream)
{
    stream << "Usage: brindlow-cli <command> [options]\n\nCommands:\n";
    for (const Command& command : commands())
        stream << "  " << command.synopsis << '\n';
    stream << "\nExit codes: 0 success, 1 failure, 2 wrong usage.\n"
              "Run 'brindlow-cli <command> --help' for one command.\n";
}

int usageError(QTextStream& err, const QString& problem)
{
    err << "brindlow-cli: " << problem << "\nRun 'brindlow-cli --help' for usage.\n";
    return kUsage;
}

void waitFor(AppState& state, void (AppState::*finished)())
{
    QEventLoop loop;
    QObject::connect(&state, finished, &loop, &QEventLoop::quit);
    loop.exec();
}

QString number(qint64 n)
{
    return QLocale::system().toString(n);
}

std::optional<QList<qint64>> parseIds(const QStringList& words, const AppState& state, QTextStream& err)
{
    QList<qint64> ids;
    for (const QString& word : words) {
        bool ok = false;
        const qint64 id = word.toLongLong(&ok);
        const bool known = ok && std::any_of(state.plan().cbegin(), state.plan().cend(), [id](const PlanItem& item) {
                               return item.id == id;
                           });
        if (!known) {
            usageError(err, u"no item with id '"_s + word + u"' in the plan"_s);
            return std::nullopt;
        }
        ids.append(id);
    }
    if (ids.isEmpty()) {
        usageError(err, u"give at least one item id"_s);
        return std::nullopt;
    }
    return ids;
}

QString line(const PlanItem& item)
{
    QString text = u"  ["_s + (item.approved ? u'x' : u' ') + u"] #"_s + QString::number(item.id) + u' '
        + item.src.fileName() + u" -> "_s + item.destFolder;
    if (item.newName)
        text += u" as \""_s + *item.newName + u'"';
    return text + u"  (" + item.reason + u')';
}

void printPlan(const QList<PlanItem>& plan, QTextStream& out)
{
    QList<const PlanItem*> organize, renames, junk, needs;
    for (const PlanItem& item : plan) {
        if (item.category != u"junk" && item.category != u"duplicate" && item.category != u"needs-you")
            organize.append(&item);
        if (item.newName)
            renames.append(&item);
        if (item.category == u"junk" || item.category == u"duplicate")
            junk.append(&item);
        if (item.category == u"needs-you")
            needs.append(&item);
    }
    const auto section = [&out](const QString& title, const QList<const PlanItem*>& items) {
        out << title << ' ' << number(items.size()) << '\n';
        for (const PlanItem* item : items)
            out << line(*item) << '\n';
        out << '\n';
    };
    section(u"Organize"_s, organize);
    out << "Rename " << number(renames.size()) << '\n';
    for (const PlanItem* item : renames) {
        out << "  [" << (item->renameApproved ? 'x' : ' ') << "] #" << item->id << ' ' << item->src.fileName() << " -> "
            << *item->newName << '\n';
    }
    out << '\n';
    section(u"Junk"_s, junk);
    section(u"Needs You"_s, needs);
}

int refresh(AppState& state, TidyMode mode, QTextStream& out, QTextStream& err)
{
    const bool tty = Terminal::isInteractive(STDERR_FILENO);
    QTextStream progress(stderr);
    QObject::connect(&state, &AppState::statusChanged, &state, [&] {
        if (!tty)
            out << state.status() << '\n' << Qt::flush;
    });
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, &state, [&] {
        const int width = 30;
        const int filled = state.total() > 0 ? width * state.decided() / state.total() : 0;
        progress << '\r' << '[' << QString(filled, u'#') << QString(width - filled, u'.') << "] "
                 << number(state.decided()) << '/' << number(state.total()) << "  " << state.calmStatus() << "\x1b[K"
                 << Qt::flush;
    });
    if (tty)
        ticker.start(250);
    if (!state.profile().onboarded) {
        err << "Brindlow is not set up yet. Run 'brindlow-cli setup' first.\n";
        return kFailed;
    }
    state.start(mode);
    if (!state.isBusy()) {
        err << state.message().value_or(u"A refresh could not start."_s) << '\n';
        return kFailed;
    }
    waitFor(state, &AppState::refreshFinished);
    ticker.stop();
    if (tty)
        progress << "\r\x1b[K" << Qt::flush;
    if (state.phase() == Phase::idle) {
        err << state.message().value_or(u"The refresh failed."_s) << '\n';
        return kFailed;
    }
    if (state.message())
        out << *state.message() << '\n';
    const QList<PlanItem>& plan = state.plan();
    if (plan.isEmpty()) {
        out << "Nothing new to sort.\n";
    } else {
        int organize = 0, renames = 0, junk = 0;
        QMap<QString, int> groups;
        for (const PlanItem& item : plan) {
            const bool isJunk = item.category == u"junk" || item.category == u"duplicate";
            junk += isJunk;
            renames += item.newName.has_value();
            if (!isJunk && item.category != u"needs-you") {
                ++organize;
                ++groups[item.group()];
            }
        }
        out << "To organize: " << number(organize) << "\nTo rename: " << number(renames) << "\nJunk: " << number(junk)
            << '\n';
        for (auto it = groups.cbegin(); it != groups.cend(); ++it)
            out << "  " << it.key() << ": " << number(it.value()) << '\n';
        out << "Review with 'brindlow-cli plan', then 'brindlow-cli apply'.\n";
    }
    out << Usage::costText(state.lastRunCost().value_or(0)) << '\n';
    return kOk;
}

int setup(const QStringList& args, QTextStream& out, QTextStream& err)
{
    Profile profile = Store::loadProfile();
    std::optional<QString> key;
    bool test = true;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        const auto value
            = [&]() -> std::optional<QString> { return i + 1 < args.size() ? std::optional(args[++i]) : std::nullopt; };
        if (arg == u"--key") {
            key = value();
            if (!key)
                return usageError(err, u"--key needs a value"_s);
        } else if (arg == u"--folders") {
            const std::optional<QString> folders = value();
            if (!folders || folders->split(u',', Qt::SkipEmptyParts).isEmpty())
                return usageError(err, u"--folders needs a comma-separated list"_s);
            profile.scanFolders = folders->split(u',', Qt::SkipEmptyParts);
        } else if (arg == u"--model") {
            const std::optional<QString> model = value();
            if (!model)
                return usageError(err, u"--model needs a value"_s);
            profile.model = *model;
        } else if (arg == u"--no-rename") {
            profile.renameFiles = false;
        } else if (arg == u"--keep-installers") {
            profile.keepInstallers = true;
        } else if (arg == u"--sunday-reset") {
            profile.autoTidy = true;
        } else if (arg == u"--no-test") {
            test = false;
        } else {
            return usageError(err, u"unknown option '"_s + arg + u"' for setup"_s);
        }
    }
    if (!key) {
        if (Terminal::isInteractive(STDIN_FILENO))
            err << "Claude API key: " << Qt::flush;
        key = Terminal::readSecretLine();
    }
    if (key->trimmed().isEmpty())
        return usageError(err, u"an API key is needed"_s);
    if (test) {
        ClaudeAPI api(key->trimmed(), profile.model);
        const ClaudeAPI::Result result
            = api.send(u"Reply with OK."_s, {QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, u"ping"_s}}}, 5);
        if (const APIError* error = std::get_if<APIError>(&result)) {
            err << error->errorDescription() << '\n';
            return kFailed;
        }
    }
    AppState state;
    state.init();
    state.saveKey(*key);
    profile.onboarded = true;
    state.setProfile(profile);
    out << "Brindlow is set up. Run 'brindlow-cli refresh' to sort your files.\n";
    return kOk;
}

int status(AppState& state, QTextStream& out)
{
    const Profile& profile = state.profile();
    if (!profile.onboarded)
        out << "Not set up yet: run 'brindlow-cli setup'.\n";
    static const char* const phases[] = {"idle", "refreshing", "waiting for review", "moving files", "done"};
    out << "Phase: " << phases[int(state.phase())] << '\n';
    out << state.lastRunText() << '\n';
    state.refreshNewFiles();
    waitFor(state, &AppState::newFilesChanged);
    out << "New files waiting: " << number(state.newFiles()) << '\n';
    out << "Folders watched: " << profile.scanFolders.join(u", "_s) << '\n';
    out << "Projects known: " << number(profile.projects.size()) << '\n';
    QFile usageFile(Store::dir() + u"/usage.json"_s);
    double usd = 0;
    qint64 files = 0;
    if (usageFile.open(QIODevice::ReadOnly)) {
        const QJsonObject month = QJsonDocument::fromJson(usageFile.readAll())
                                      .object()
                                      .value("months"_L1)
                                      .toObject()
                                      .value(QDateTime::currentDateTime().toString(u"yyyy-MM"_s))
                                      .toObject();
        usd = month.value("usd"_L1).toDouble();
        files = month.value("files"_L1).toInteger();
    }
    out << "This month: " << (usd > 0 && usd < 0.01 ? u"<$0.01"_s : u"$"_s + QString::number(usd, 'f', 2)) << ", "
        << number(files) << " files\n";
    if (!state.plan().isEmpty())
        out << number(state.plan().size()) << " changes wait for review: 'brindlow-cli plan'.\n";
    return kOk;
}

} // namespace

int run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    const QString command = arguments.value(1);
    const QStringList args = arguments.mid(2);
    if (command == u"--help" || command == u"-h" || command == u"help") {
        printUsage(out);
        return kOk;
    }
    if (!command.isEmpty() && !commands().contains(command))
        return usageError(err, u"unknown command '"_s + command + u'\'');
    if (args.contains(u"--help"_s) || args.contains(u"-h"_s)) {
        const Command& found = commands()[command];
        out << "Usage: brindlow-cli " << found.synopsis << "\n\n" << found.help << '\n';
        return kOk;
    }
    if (command == u"setup")
        return setup(args, out, err);

    AppState state;
    state.init();
    if (command.isEmpty()) {
        // A first-time user at a terminal is walked through the set-up.
        if (!state.profile().onboarded && Terminal::isInteractive(STDIN_FILENO))
            return setup({}, out, err);
        return status(state, out);
    }
    if (command == u"status")
        return status(state, out);
    if (command == u"refresh") {
        if (args.size() > 1)
            return usageError(err, u"choose one of --quick, --deep, --junk-only"_s);
        const QString mode = args.value(0, u"--quick"_s);
        if (mode != u"--quick" && mode != u"--deep" && mode != u"--junk-only")
            return usageError(err, u"unknown option '"_s + mode + u"' for refresh"_s);
        return refresh(state,
                       mode == u"--deep"            ? TidyMode::deep
                           : mode == u"--junk-only" ? TidyMode::junkOnly
                                                    : TidyMode::quick,
                       out,
                       err);
    }
    if (command == u"plan") {
        if (args == QStringList {u"--json"_s}) {
            QJsonArray items;
            for (const PlanItem& item : state.plan())
                items.append(item.toJson());
            out << QJsonDocument(items).toJson(QJsonDocument::Indented);
            return kOk;
        }
        if (!args.isEmpty())
            return usageError(err, u"unknown option for plan"_s);
        if (state.plan().isEmpty()) {
            out << "Nothing waiting\n";
            return kOk;
        }
        printPlan(state.plan(), out);
        return kOk;
    }
    if (command == u"suggestions") {
        for (const GroupCount& suggestion : state.projectSuggestions())
            out << suggestion.name << " (" << number(suggestion.count) << ")\n";
        return kOk;
    }
    if (command == u"add-project") {
        if (args.size() != 1 || args[0].trimmed().isEmpty())
            return usageError(err, u"add-project takes one name"_s);
        const int filed = state.addProject(args[0]);
        out << "Added " << args[0].trimmed() << "; " << number(filed) << (filed == 1 ? " file" : " files")
            << " now go into it.\n";
        return kOk;
    }
    if (command == u"discard") {
        state.discardPlan();
        out << "The plan was dropped. Nothing moved.\n";
        return kOk;
    }
    if (command == u"undo") {
        if (!args.isEmpty())
            return usageError(err, u"undo takes no options"_s);
        state.undoLast();
        if (!state.isBusy()) {
            err << state.message().value_or(u"Brindlow is busy."_s) << '\n';
            return kFailed;
        }
        waitFor(state, &AppState::moveFinished);
        out << state.message().value_or(QString()) << '\n';
        return kOk;
    }
    if (command == u"apply") {
        if (!args.isEmpty() && args != QStringList {u"--organize-only"_s})
            return usageError(err, u"unknown option for apply"_s);
        if (state.phase() != Phase::review) {
            err << "Nothing waiting\n";
            return kFailed;
        }
        state.apply(args.isEmpty());
        if (!state.isBusy()) {
            err << state.message().value_or(u"Brindlow is busy."_s) << '\n';
            return kFailed;
        }
        waitFor(state, &AppState::moveFinished);
        const ApplyResult result = *state.lastResult();
        out << "Moved " << number(result.moved) << ", renamed " << number(result.renamed) << ", set aside "
            << QLocale::system().formattedDataSize(result.junkBytes, 1, QLocale::DataSizeSIFormat) << " for review, "
            << number(result.needsYou) << " for you to decide, skipped " << number(result.skipped) << ".\n";
        return kOk;
    }

    // The review edits work on the plan waiting for review.
    if (state.plan().isEmpty()) {
        err << "Nothing waiting\n";
        return kFailed;
    }
    if (command == u"approve" || command == u"skip") {
        const std::optional<QList<qint64>> ids = parseIds(args, state, err);
        if (!ids)
            return kUsage;
        state.setApproved(*ids, command == u"approve");
        return kOk;
    }
    if (command == u"rename") {
        if (args.isEmpty() || (args[0] != u"on" && args[0] != u"off"))
            return usageError(err, u"rename takes on or off, then item ids"_s);
        const std::optional<QList<qint64>> ids = parseIds(args.mid(1), state, err);
        if (!ids)
            return kUsage;
        for (const qint64 id : *ids) {
            const auto item = std::find_if(
                state.plan().cbegin(), state.plan().cend(), [id](const PlanItem& p) { return p.id == id; });
            if (item->renameApproved != (args[0] == u"on"))
                state.toggleRename(id);
        }
        return kOk;
    }
    if (command == u"move") {
        if (args.size() != 2 || args[1].trimmed().isEmpty())
            return usageError(err, u"move takes an item id and a folder"_s);
        const std::optional<QList<qint64>> ids = parseIds({args[0]}, state, err);
        if (!ids)
            return kUsage;
        state.setDestination(ids->first(), args[1]);
        return kOk;
    }
    if (command == u"leave") {
        const std::optional<QList<qint64>> ids = parseIds(args, state, err);
        if (!ids || ids->size() != 1)
            return ids ? usageError(err, u"leave takes one item id"_s) : kUsage;
        state.setDestination(ids->first(), std::nullopt);
        return kOk;
    }
    return usageError(err, u"unknown command '"_s + command + u'\'');
}

} // namespace CliCommands
