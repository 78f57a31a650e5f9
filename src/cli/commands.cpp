#include "commands.h"

#include "brindlow_version.h"
#include "common/numbers.h"
#include "controller/app_state.h"
#include "controller/refresh_pipeline.h"
#include "history_commands.h"
#include "model/plan_tab.h"
#include "model/store.h"
#include "plan_view.h"
#include "planning/planner.h"
#include "platform/desktop_notifications.h"
#include "platform/file_io.h"
#include "refresh_progress.h"
#include "rules_commands.h"
#include "schedule/notifier.h"
#include "terminal.h"
#include "understanding/server_check.h"
#include "understanding/usage.h"
#include "visible_text.h"

#include <QDir>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <functional>
#include <variant>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace CliCommands {

namespace {

// What a command is handed: its own arguments, the two streams and, unless it starts the
// controller itself, the controller with everything stored loaded.
struct Call
{
    const QStringList& args;
    QTextStream& out;
    QTextStream& err;
    AppState* state;
};

int usageError(QTextStream& err, const QString& problem)
{
    err << "brindlow-cli: " << VisibleText::of(problem) << "\nRun 'brindlow-cli --help' for usage.\n";
    return kUsage;
}

// The terminal shows the plan itself, so the desktop is not told about it; a notice that finds
// no notification service (the reminder, when a long run meets its hour) is reported once.
void useTerminalNotices(AppState& state, QTextStream& err)
{
    const auto sayUnavailable = [&err] {
        err << "brindlow-cli: no notification service\n";
        err.flush();
    };
    NotificationService* desktop
        = DesktopNotifications::create(&state, {.fallback = {}, .unavailable = sayUnavailable});
    auto* notifier = new Notifier(desktop, nullptr, &state);
    notifier->setAnnouncesPlans(false);
    state.setNotifier(notifier);
}

template <typename Part>
void waitFor(Part& part, void (Part::*finished)())
{
    QEventLoop loop;
    QObject::connect(&part, finished, &loop, &QEventLoop::quit);
    loop.exec();
}

// A folder the person typed, relative to the home base, or nothing when a piece would climb out
// of it ("..") or is not a plain folder name (a leading dot, control characters).
std::optional<QString> typedFolder(const QString& text)
{
    QStringList typed;
    for (const QString& piece : text.split(u'/', Qt::SkipEmptyParts)) {
        const QString trimmed = QString(piece).replace(u':', u'-').trimmed();
        if (!trimmed.isEmpty())
            typed.append(trimmed);
    }
    const std::optional<QString> clean = Planner::cleanFolderPath(text);
    if (!clean || *clean != typed.join(u'/'))
        return std::nullopt;
    return clean;
}

QString folderProblem(const QString& text)
{
    return u"'"_s + text
        + u"' can't be used as a folder: use plain names without '..', leading dots or control characters"_s;
}

std::optional<QList<qint64>> parseIds(const QStringList& words, const PlanReview& review, QTextStream& err)
{
    QList<qint64> ids;
    for (const QString& word : words) {
        bool ok = false;
        const qint64 id = word.toLongLong(&ok);
        const bool known = ok && std::any_of(review.plan().cbegin(), review.plan().cend(), [id](const PlanItem& item) {
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

void printPlanSummary(const QList<PlanItem>& plan, QTextStream& out)
{
    int organize = 0, renames = 0, junk = 0;
    QMap<QString, int> groups;
    for (const PlanItem& item : plan) {
        junk += item.category.isSetAside();
        renames += item.newName.has_value();
        if (PlanTabs::isOrganized(item)) {
            ++organize;
            ++groups[item.group()];
        }
    }
    out << "To organize: " << Numbers::count(organize) << "\nTo rename: " << Numbers::count(renames)
        << "\nJunk: " << Numbers::count(junk) << '\n';
    for (auto it = groups.cbegin(); it != groups.cend(); ++it)
        out << "  " << VisibleText::of(it.key()) << ": " << Numbers::count(it.value()) << '\n';
}

// Refused before anything is asked: not set up, or no key to ask with.
bool readyToRefresh(AppState& state, QTextStream& err)
{
    if (!state.preferences().profile().onboarded) {
        err << "Brindlow is not set up yet. Run 'brindlow-cli setup' first.\n";
        return false;
    }
    if (!state.preferences().readyToSort()) {
        err << (state.preferences().profile().sortWith == SortWith::ownServer
                    ? "Your model server's address or model is missing. Run 'brindlow-cli setup --server'.\n"
                    : "Your Claude API key is missing or damaged. Run 'brindlow-cli setup'.\n");
        return false;
    }
    return true;
}

int refresh(AppState& state, TidyMode mode, bool replace, QTextStream& out, QTextStream& err)
{
    RefreshProgress progress(state.activity(), state.refresh(), out);
    if (!readyToRefresh(state, err))
        return kFailed;
    // The plan may hold an hour of someone's review: only dropped when asked for by name.
    if (!replace && !state.review().plan().isEmpty()) {
        err << "A plan is waiting for review: apply it, or drop it with 'brindlow-cli discard'.\n";
        return kFailed;
    }
    state.refresh().start(mode);
    if (!state.activity().isBusy()) {
        err << VisibleText::of(state.activity().message().value_or(u"A refresh could not start."_s)) << '\n';
        return kFailed;
    }
    waitFor(state.refresh(), &RefreshRun::finished);
    progress.finish();
    // Every request failing is a failed refresh, even though its items wait in the plan.
    const bool failed = state.activity().phase() == Phase::idle || state.refresh().everyRequestFailed();
    if (failed)
        err << VisibleText::of(state.activity().message().value_or(u"The refresh failed."_s)) << '\n';
    if (state.activity().phase() == Phase::idle)
        return kFailed;
    if (state.activity().message() && !failed)
        out << VisibleText::of(*state.activity().message()) << '\n';
    const QList<PlanItem>& plan = state.review().plan();
    if (plan.isEmpty()) {
        out << "Nothing new to sort.\n";
    } else {
        printPlanSummary(plan, out);
        if (!state.review().flushEdits()) {
            err << PlanReview::planNotSavedText() << '\n';
            return kFailed;
        }
        out << "Review with 'brindlow-cli plan', then 'brindlow-cli apply'.\n";
    }
    // Nothing was asked without a model, so there is no cost to tell.
    if (state.preferences().profile().sortWith == SortWith::ownServer)
        out << "No charge\n";
    else if (const std::optional<double> cost = state.refresh().lastRunCost())
        out << Usage::costText(*cost) << '\n';
    return failed ? kFailed : kOk;
}

// Waits until the command's changes are on disk; one that could not be saved is said, and fails
// the command.
int saved(AppState& state, QTextStream& err)
{
    if (state.review().flushEdits())
        return kOk;
    err << VisibleText::of(state.review().saveProblem().value_or(PlanReview::planNotSavedText())) << '\n';
    return kFailed;
}

// Far longer than any key; a larger file is not a key file.
constexpr qsizetype kMaxKeyBytes = 4096;

std::optional<QString> readKeyFile(const QString& path, QTextStream& err)
{
    const std::optional<QByteArray> bytes = FileIo::readRegular(path, kMaxKeyBytes);
    const QString key = bytes ? QString::fromUtf8(*bytes).trimmed() : QString();
    if (!bytes || key.contains(QRegularExpression(u"\\s"_s))) {
        err << "brindlow-cli: " << VisibleText::of(path)
            << " is not a key file: it must be a readable file holding only the key.\n";
        return std::nullopt;
    }
    return key;
}

std::optional<QString> promptForKey(QTextStream& err)
{
    err << Qt::flush;
    const std::optional<QString> key = Terminal::readSecretLine("Claude API key: ", kMaxKeyBytes);
    if (!key) {
        err << "brindlow-cli: that line is too long to be a Claude API key.\n";
        return std::nullopt;
    }
    return key->trimmed();
}

// What `setup` was asked for on its command line.
struct SetupOptions
{
    Profile profile;
    std::optional<QString> keyFile;
    std::optional<QString> model;
    bool test = true;
};

// The options that choose what sorts: nothing when `arg` is none of them, else kOk or the exit
// code of a wrong one once reported.
std::optional<int> sortWithOption(const QString& arg,
                                  const std::function<std::optional<QString>()>& value,
                                  SetupOptions& options,
                                  QTextStream& err)
{
    ModelServer& server = options.profile.server;
    const std::pair<const char*, QString*> named[] = {
        {"--server", &server.address},
        {"--careful-model", &server.carefulModel},
        {"--second-model", &server.secondModel},
    };
    for (const auto& [name, field] : named) {
        if (arg != QLatin1StringView(name))
            continue;
        const std::optional<QString> given = value();
        if (!given)
            return usageError(err, arg + u" needs a value"_s);
        *field = given->trimmed();
        if (arg == u"--server")
            options.profile.sortWith = SortWith::ownServer;
        return kOk;
    }
    if (arg == u"--claude" || arg == u"--no-model") {
        options.profile.sortWith = arg == u"--claude" ? SortWith::claude : SortWith::noModel;
        return kOk;
    }
    return std::nullopt;
}

// The stored profile with the options applied, or the exit code of a wrong option once reported.
std::variant<SetupOptions, int> setupOptions(const QStringList& args, QTextStream& err)
{
    SetupOptions options;
    options.profile = Store::loadProfile();
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        const auto value
            = [&]() -> std::optional<QString> { return i + 1 < args.size() ? std::optional(args[++i]) : std::nullopt; };
        if (arg == u"--key" || arg.startsWith(u"--key=")) {
            return usageError(err,
                              u"--key is not accepted: every user of this computer can read a command line. "
                              u"Use --key-file PATH, or type the key when asked."_s);
        } else if (arg == u"--key-file") {
            options.keyFile = value();
            if (!options.keyFile)
                return usageError(err, u"--key-file needs a path"_s);
        } else if (arg == u"--folders") {
            const std::optional<QString> folders = value();
            if (!folders || folders->split(u',', Qt::SkipEmptyParts).isEmpty())
                return usageError(err, u"--folders needs a comma-separated list"_s);
            options.profile.scanFolders = folders->split(u',', Qt::SkipEmptyParts);
        } else if (arg == u"--model") {
            options.model = value();
            if (!options.model)
                return usageError(err, u"--model needs a value"_s);
        } else if (const std::optional<int> chosen = sortWithOption(arg, value, options, err)) {
            if (*chosen != kOk)
                return *chosen;
        } else if (arg == u"--no-rename") {
            options.profile.renameFiles = false;
        } else if (arg == u"--keep-installers") {
            options.profile.keepInstallers = true;
        } else if (arg == u"--sunday-reset") {
            options.profile.autoTidy = true;
        } else if (arg == u"--no-test") {
            options.test = false;
        } else {
            return usageError(err, u"unknown option '"_s + arg + u"' for setup"_s);
        }
    }
    if (options.model && options.profile.sortWith == SortWith::ownServer)
        options.profile.server.sortingModel = *options.model;
    else if (options.model)
        options.profile.model = *options.model;
    return options;
}

// Stores the profile and the key, waiting until they are on disk.
int saveSetup(const Profile& profile, const QString& key, QTextStream& err)
{
    AppState state;
    useTerminalNotices(state, err);
    state.init();
    if (profile.sortWith == SortWith::ownServer)
        state.preferences().saveServerKey(key);
    else
        state.preferences().saveKey(key);
    Profile onboarded = profile;
    onboarded.onboarded = true;
    state.preferences().setProfile(onboarded);
    return saved(state, err);
}

// A server of one's own needs no key: one is read only from --key-file, never asked for.
int setupServer(SetupOptions& options, QTextStream& out, QTextStream& err)
{
    ModelServer& server = options.profile.server;
    if (server.sortingModel.isEmpty())
        return usageError(err, u"--server needs --model NAME, the model to sort with"_s);
    if (const std::optional<QString> problem = ModelServer::addressProblem(server.address)) {
        err << "brindlow-cli: " << VisibleText::of(*problem) << '\n';
        return kFailed;
    }
    const std::optional<QString> key = options.keyFile ? readKeyFile(*options.keyFile, err) : QString();
    if (!key)
        return kFailed;
    if (options.test) {
        const ServerCheck::Result check = ServerCheck::run(server, *key);
        if (check.failure) {
            err << VisibleText::of(*check.failure) << '\n';
            return kFailed;
        }
        server.acceptsImages = check.acceptsImages;
        if (check.acceptsImages == false)
            out << "This model doesn't take images: pictures are described to it in words.\n";
    }
    if (saveSetup(options.profile, *key, err) != kOk)
        return kFailed;
    out << "Brindlow is set up to sort with your model server at " << VisibleText::of(server.displayName())
        << ". Run 'brindlow-cli refresh' to sort your files.\n";
    return kOk;
}

// Sorting by kind needs no key: none is asked for, and one stored earlier stays for later.
int setupWithoutModel(SetupOptions& options, QTextStream& out, QTextStream& err)
{
    if (options.keyFile)
        return usageError(err, u"--key-file has no use with --no-model: nothing is sent anywhere"_s);
    AppState state;
    useTerminalNotices(state, err);
    state.init();
    Profile onboarded = options.profile;
    onboarded.onboarded = true;
    state.preferences().setProfile(onboarded);
    if (saved(state, err) != kOk)
        return kFailed;
    out << "Brindlow is set up to sort by kind, without a model. Run 'brindlow-cli refresh' to sort your files.\n";
    return kOk;
}

int setup(const QStringList& args, QTextStream& out, QTextStream& err)
{
    std::variant<SetupOptions, int> parsed = setupOptions(args, err);
    if (const int* code = std::get_if<int>(&parsed))
        return *code;
    SetupOptions& options = std::get<SetupOptions>(parsed);
    if (options.profile.sortWith == SortWith::ownServer)
        return setupServer(options, out, err);
    if (options.profile.sortWith == SortWith::noModel)
        return setupWithoutModel(options, out, err);
    const std::optional<QString> key = options.keyFile ? readKeyFile(*options.keyFile, err) : promptForKey(err);
    if (!key)
        return kFailed;
    if (key->isEmpty())
        return usageError(err, u"an API key is needed"_s);
    if (options.test) {
        if (const std::optional<APIError> failure
            = RefreshPipeline::checkConnection(*key, options.profile.model, nullptr, {})) {
            err << VisibleText::of(failure->errorDescription()) << '\n';
            return kFailed;
        }
    }
    if (saveSetup(options.profile, *key, err) != kOk)
        return kFailed;
    out << "Brindlow is set up. Run 'brindlow-cli refresh' to sort your files.\n";
    return kOk;
}

int status(AppState& state, QTextStream& out)
{
    const Profile& profile = state.preferences().profile();
    if (!profile.onboarded)
        out << "Not set up yet: run 'brindlow-cli setup'.\n";
    if (const std::optional<QString> notice = state.preferences().homeBaseNotice()) {
        out << VisibleText::of(*notice) << '\n';
        state.preferences().homeBaseNoticeShown();
    }
    static const char* const phases[] = {"idle", "refreshing", "waiting for review", "moving files", "done"};
    out << "Phase: " << phases[int(state.activity().phase())] << '\n';
    if (profile.sortWith == SortWith::ownServer)
        out << "Sorting with: your model server at " << VisibleText::of(profile.server.address) << " ("
            << VisibleText::of(profile.sortingModel()) << ")\n";
    else if (profile.sortWith == SortWith::noModel)
        out << "Sorting without a model\n";
    else
        out << "Sorting with: Claude (" << VisibleText::of(profile.model) << ")\n";
    out << state.preferences().lastRunText() << '\n';
    state.refresh().refreshNewFiles();
    waitFor(state.refresh(), &RefreshRun::newFilesChanged);
    out << "New files waiting: " << Numbers::count(state.refresh().newFiles()) << '\n';
    out << "Folders watched: " << VisibleText::of(profile.scanFolders.join(u", "_s)) << '\n';
    out << "Projects known: " << Numbers::count(profile.projects.size()) << '\n';
    const MonthUsage month = Usage::readLog().months.value(QDateTime::currentDateTime().toString(u"yyyy-MM"_s));
    out << "This month: " << Numbers::money(month.usd, Numbers::Nothing::zeroDollars) << ", "
        << Numbers::count(month.files) << " files\n";
    if (!state.review().plan().isEmpty())
        out << Numbers::count(state.review().plan().size()) << " changes wait for review: 'brindlow-cli plan'.\n";
    return kOk;
}

int refreshCommand(const Call& call)
{
    QStringList args = call.args;
    const bool replace = args.removeAll(u"--replace"_s) > 0;
    if (args.size() > 1)
        return usageError(call.err, u"choose one of --quick, --deep, --junk-only"_s);
    const QString mode = args.value(0, u"--quick"_s);
    if (mode != u"--quick" && mode != u"--deep" && mode != u"--junk-only")
        return usageError(call.err, u"unknown option '"_s + mode + u"' for refresh"_s);
    return refresh(*call.state,
                   mode == u"--deep"            ? TidyMode::deep
                       : mode == u"--junk-only" ? TidyMode::junkOnly
                                                : TidyMode::quick,
                   replace,
                   call.out,
                   call.err);
}

int showPlan(const Call& call)
{
    const QList<PlanItem>& plan = call.state->review().plan();
    if (call.args == QStringList {u"--json"_s}) {
        QJsonArray items;
        for (const PlanItem& item : plan)
            items.append(item.toJson());
        call.out << QJsonDocument(items).toJson(QJsonDocument::Indented);
        return kOk;
    }
    if (!call.args.isEmpty())
        return usageError(call.err, u"unknown option for plan"_s);
    if (plan.isEmpty()) {
        call.out << "Nothing waiting\n";
        return kOk;
    }
    PlanView::print(plan, call.out);
    return kOk;
}

int listSuggestions(const Call& call)
{
    for (const GroupCount& suggestion : call.state->review().projectSuggestions())
        call.out << VisibleText::of(suggestion.name) << " (" << Numbers::count(suggestion.count) << ")\n";
    return kOk;
}

int addProject(const Call& call)
{
    const QStringList& args = call.args;
    if (args.size() != 1 || args[0].trimmed().isEmpty())
        return usageError(call.err, u"add-project takes one name"_s);
    if (!typedFolder(args[0]))
        return usageError(call.err, folderProblem(args[0]));
    const int filed = call.state->review().addProject(args[0]);
    if (saved(*call.state, call.err) != kOk)
        return kFailed;
    call.out << "Added " << VisibleText::of(args[0].trimmed()) << "; " << Numbers::count(filed)
             << (filed == 1 ? " file" : " files") << " now go into it.\n";
    return kOk;
}

int discardPlan(const Call& call)
{
    AppState& state = *call.state;
    state.review().discard();
    if (!state.review().plan().isEmpty()) {
        call.err << VisibleText::of(state.activity().message().value_or(Activity::otherProcessBusyText())) << '\n';
        return kFailed;
    }
    call.out << "The plan was dropped. Nothing moved.\n";
    return kOk;
}

int undoLast(const Call& call)
{
    AppState& state = *call.state;
    if (!call.args.isEmpty())
        return usageError(call.err, u"undo takes no options"_s);
    state.moves().undoLast();
    if (!state.activity().isBusy()) {
        call.err << VisibleText::of(state.activity().message().value_or(u"Brindlow is busy."_s)) << '\n';
        return kFailed;
    }
    waitFor(state.moves(), &Moves::finished);
    call.out << VisibleText::of(state.activity().message().value_or(QString())) << '\n';
    return kOk;
}

int applyPlan(const Call& call)
{
    AppState& state = *call.state;
    if (!call.args.isEmpty() && call.args != QStringList {u"--organize-only"_s})
        return usageError(call.err, u"unknown option for apply"_s);
    if (state.activity().phase() != Phase::review) {
        call.err << "Nothing waiting\n";
        return kFailed;
    }
    state.moves().apply(call.args.isEmpty());
    if (!state.activity().isBusy()) {
        call.err << VisibleText::of(state.activity().message().value_or(u"Brindlow is busy."_s)) << '\n';
        return kFailed;
    }
    waitFor(state.moves(), &Moves::finished);
    const ApplyResult result = *state.moves().lastResult();
    PlanView::printResult(result, call.out);
    if (result.stoppedBecause) {
        call.err << VisibleText::of(*result.stoppedBecause) << '\n';
        return kFailed;
    }
    return kOk;
}

int setApproved(const Call& call, bool approved)
{
    const std::optional<QList<qint64>> ids = parseIds(call.args, call.state->review(), call.err);
    if (!ids)
        return kUsage;
    call.state->review().setApproved(*ids, approved);
    return saved(*call.state, call.err);
}

int renameItems(const Call& call)
{
    PlanReview& review = call.state->review();
    const QStringList& args = call.args;
    if (args.isEmpty() || (args[0] != u"on" && args[0] != u"off"))
        return usageError(call.err, u"rename takes on or off, then item ids"_s);
    const std::optional<QList<qint64>> ids = parseIds(args.mid(1), review, call.err);
    if (!ids)
        return kUsage;
    for (const qint64 id : *ids) {
        const auto item = std::find_if(
            review.plan().cbegin(), review.plan().cend(), [id](const PlanItem& p) { return p.id == id; });
        if (item->renameApproved != (args[0] == u"on"))
            review.toggleRename(id);
    }
    return saved(*call.state, call.err);
}

int moveItem(const Call& call)
{
    const QStringList& args = call.args;
    if (args.size() != 2 || args[1].trimmed().isEmpty())
        return usageError(call.err, u"move takes an item id and a folder"_s);
    const std::optional<QList<qint64>> ids = parseIds({args[0]}, call.state->review(), call.err);
    if (!ids)
        return kUsage;
    const std::optional<QString> folder = typedFolder(args[1]);
    if (!folder)
        return usageError(call.err, folderProblem(args[1]));
    call.state->review().setDestination(ids->first(), *folder);
    return saved(*call.state, call.err);
}

int leaveItem(const Call& call)
{
    const std::optional<QList<qint64>> ids = parseIds(call.args, call.state->review(), call.err);
    if (!ids || ids->size() != 1)
        return ids ? usageError(call.err, u"leave takes one item id"_s) : kUsage;
    call.state->review().setDestination(ids->first(), std::nullopt);
    return saved(*call.state, call.err);
}

// What has to be in place before a command's handler runs.
enum class Needs {
    nothing, // it starts the controller itself, once it knows it may
    controller,
    plan, // a review edit: without a plan waiting there is nothing to edit
};

struct Command
{
    QString arguments;
    QString help;
    Needs needs = Needs::controller;
    int (*handler)(const Call&) = nullptr;
};

// Keyed by name, so the usage lists the commands in alphabetical order.
const QMap<QString, Command>& commands()
{
    static const QMap<QString, Command> table {
        {u"setup"_s,
         {u"[--claude | --server URL [--careful-model NAME] [--second-model NAME] | --no-model] [--key-file PATH] "
          u"[--folders Desktop,Downloads,Documents] [--model NAME] [--no-rename] [--keep-installers] "
          u"[--sunday-reset] [--no-test]"_s,
          u"Sets Brindlow up: stores your Claude API key (read from the file given with --key-file, or from "
          u"standard input without echo), checks it with one tiny request unless --no-test, and saves your "
          u"preferences. With --server, Brindlow sorts with a model server of your own at URL using the model "
          u"--model names; its key, when it needs one, is read from --key-file. With --no-model no key is "
          u"needed: files are sorted by their kind and nothing leaves this computer. --claude goes back to "
          u"Claude."_s,
          Needs::nothing,
          [](const Call& call) { return setup(call.args, call.out, call.err); }}},
        {u"refresh"_s,
         {u"[--quick | --deep | --junk-only] [--replace]"_s,
          u"Looks through your folders and prepares a plan (quick by default). Nothing moves until you apply it. "
          u"A plan already waiting for review is kept, and the refresh refused, unless --replace drops it."_s,
          Needs::controller,
          refreshCommand}},
        {u"plan"_s,
         {u"[--json]"_s, u"Shows the plan waiting for review by tab, with item ids."_s, Needs::controller, showPlan}},
        {u"approve"_s,
         {u"ID..."_s,
          u"Includes items in the next apply."_s,
          Needs::plan,
          [](const Call& call) { return setApproved(call, true); }}},
        {u"skip"_s,
         {u"ID..."_s,
          u"Leaves items out of the next apply."_s,
          Needs::plan,
          [](const Call& call) { return setApproved(call, false); }}},
        {u"rename"_s, {u"on|off ID..."_s, u"Accepts or refuses proposed new names."_s, Needs::plan, renameItems}},
        {u"move"_s,
         {u"ID FOLDER"_s,
          u"Sends an item to a folder of your choosing, relative to your home base."_s,
          Needs::plan,
          moveItem}},
        {u"leave"_s, {u"ID"_s, u"Leaves an item where it is."_s, Needs::plan, leaveItem}},
        {u"add-project"_s,
         {u"NAME"_s, u"Adds a project and files the items that mention it."_s, Needs::controller, addProject}},
        {u"suggestions"_s,
         {QString(), u"Lists project names the plan keeps suggesting."_s, Needs::controller, listSuggestions}},
        {u"apply"_s,
         {u"[--organize-only]"_s,
          u"Moves the approved items (and renames them, unless --organize-only)."_s,
          Needs::controller,
          applyPlan}},
        {u"undo"_s,
         {QString(),
          u"Puts back the files of the last apply; again to go further back."_s,
          Needs::controller,
          undoLast}},
        {u"history"_s,
         {u"[N]"_s,
          u"Lists every apply, newest first and numbered; with N, the files of apply N and what became of them."_s,
          Needs::controller,
          [](const Call& call) { return HistoryCommands::list(*call.state, call.args, call.out, call.err); }}},
        {u"put-back"_s,
         {u"N PATH..."_s,
          u"Puts files of apply N back where they came from, each named by where it was filed or where it was."_s,
          Needs::controller,
          [](const Call& call) { return HistoryCommands::putBack(*call.state, call.args, call.out, call.err); }}},
        {u"rules"_s,
         {u"[add [--name PATTERN] [--kind KIND] [--folder FOLDER] [--site HOST] [--min-size SIZE] [--max-size SIZE] "
          u"(--to FOLDER | --junk | --leave) | remove N | move N M]"_s,
          u"Lists your own rules, numbered in the order they are asked; the first that matches an item decides it, "
          u"before Brindlow's own sorting. 'rules add' states one: every condition given must hold (a name "
          u"pattern such as *.torrent, a kind such as pdf, a folder Brindlow tidies, the site a download came "
          u"from, sizes such as 500KB or 1.5GB), and it sends the items to a folder under your home base, sets "
          u"them aside as junk, or leaves them alone: never planned, never read, never sent to a model. "
          u"'rules remove N' drops rule N; 'rules move N M' puts rule N at place M. A change applies to the plan "
          u"waiting for review at once, except to items you changed yourself."_s,
          Needs::controller,
          [](const Call& call) { return RulesCommands::run(*call.state, call.args, call.out, call.err); }}},
        {u"discard"_s, {QString(), u"Drops the plan waiting for review."_s, Needs::controller, discardPlan}},
        {u"status"_s,
         {QString(),
          u"What Brindlow knows: last refresh, new files, folders, projects, cost."_s,
          Needs::controller,
          [](const Call& call) { return status(*call.state, call.out); }}},
    };
    return table;
}

QString synopsis(const QString& name, const Command& command)
{
    return command.arguments.isEmpty() ? name : name + u' ' + command.arguments;
}

void printUsage(QTextStream& stream)
{
    stream << "Usage: brindlow-cli <command> [options]\n\nCommands:\n";
    for (auto it = commands().cbegin(); it != commands().cend(); ++it)
        stream << "  " << synopsis(it.key(), it.value()) << '\n';
    stream << "\nExit codes: 0 success, 1 failure, 2 wrong usage.\n"
              "Run 'brindlow-cli <command> --help' for one command.\n";
}

} // namespace

int run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    const QString name = arguments.value(1);
    const QStringList args = arguments.mid(2);
    if (name == u"--version") {
        out << "brindlow-cli " << BRINDLOW_VERSION << '\n';
        return kOk;
    }
    if (name == u"--help" || name == u"-h" || name == u"help") {
        printUsage(out);
        return kOk;
    }
    if (!name.isEmpty() && !commands().contains(name))
        return usageError(err, u"unknown command '"_s + name + u'\'');
    const Command command = commands().value(name);
    if (args.contains(u"--help"_s) || args.contains(u"-h"_s)) {
        out << "Usage: brindlow-cli " << synopsis(name, command) << "\n\n" << command.help << '\n';
        return kOk;
    }
    if (command.needs == Needs::nothing)
        return command.handler({args, out, err, nullptr});

    RulesCommands::sayIfKeptAside(err);
    AppState state;
    useTerminalNotices(state, err);
    state.init();
    // The controller reads the rules in the background. A refresh started before they arrive
    // would describe to the model what they leave alone, and a command has nothing to wait in.
    state.rules().loadNow();
    if (name.isEmpty()) {
        // A first-time user at a terminal is walked through the set-up.
        if (!state.preferences().profile().onboarded && Terminal::isInteractive(STDIN_FILENO))
            return setup({}, out, err);
        return status(state, out);
    }
    if (command.needs == Needs::plan && state.review().plan().isEmpty()) {
        err << "Nothing waiting\n";
        return kFailed;
    }
    return command.handler({args, out, err, &state});
}

} // namespace CliCommands
