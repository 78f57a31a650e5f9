#include "refresh_pipeline.h"

#include "common/numbers.h"
#include "model/home_tree.h"
#include "model/user_folders.h"
#include "planning/kind_sorting.h"
#include "planning/planner.h"
#include "planning/rules.h"
#include "scan/scanner.h"
#include "understanding/classifier.h"
#include "understanding/claude_api.h"
#include "understanding/discovery.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonObject>
#include <QMutex>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace RefreshPipeline {

namespace {

const QString kDiscoveryModel = u"claude-opus-5-5"_s;

QString number(qsizetype n)
{
    return Numbers::count(n);
}

QString text(const char* source)
{
    return QCoreApplication::translate("RefreshPipeline", source);
}

bool cancelled(const Request& request)
{
    return request.cancellation && request.cancellation->isCancelled();
}

// Keeps the newest items when there are more than one refresh can sort; returns the notice.
std::optional<QString> capToNewest(QList<ScannedItem>& items)
{
    if (items.size() <= kMaxItems)
        return std::nullopt;
    std::stable_sort(
        items.begin(), items.end(), [](const ScannedItem& a, const ScannedItem& b) { return a.modified > b.modified; });
    items.resize(kMaxItems);
    return text(QT_TRANSLATE_NOOP("RefreshPipeline", "Sorted your newest %1 files. Run it again for the rest."))
        .arg(number(kMaxItems));
}

// Learns projects when asked for or when none are known; returns the profile to classify with.
Profile learnProjects(const Request& request, const QList<ScannedItem>& items, const Reports& reports)
{
    Profile current = request.profile;
    if (request.mode != TidyMode::deep && !current.projects.isEmpty())
        return current;
    reports.status(text(QT_TRANSLATE_NOOP("RefreshPipeline", "Learning what you work on")), true);
    Discovery::Options options;
    options.clock = request.clock;
    options.cancellation = request.cancellation;
    options.server = serverOf(current);
    const QString model = options.server ? options.server->discoveryModel() : kDiscoveryModel;
    const QList<Project> found = Discovery::run(items, current.projects, request.apiKey, model, options);
    QSet<QString> known;
    for (const Project& project : current.projects)
        known.insert(project.name.toLower());
    QList<Project> added;
    for (const Project& project : found) {
        if (!known.contains(project.name.toLower()))
            added.append(project);
    }
    if (added.isEmpty())
        return current;
    current.projects += added;
    QStringList names;
    for (const Project& project : added.first(std::min<qsizetype>(4, added.size())))
        names.append(project.name);
    reports.learned(added, text(QT_TRANSLATE_NOOP("RefreshPipeline", "Found %1")).arg(names.join(u", "_s)));
    return current;
}

// `leftAlone` receives what the rules saw of the entries they left alone.
QList<ScannedItem> scan(const Request& request, const Reports& reports, QList<RuleSubject>* leftAlone)
{
    ScanOptions options = scanOptions(request.profile, request.mode, request.home);
    QMutex found;
    askRules(options, request.rules, request.home, [&found, leftAlone](const RuleSubject& subject) {
        const QMutexLocker locked(&found);
        leftAlone->append(subject);
    });
    return Scanner::run(
        options,
        [&reports](int found) {
            reports.status(text(QT_TRANSLATE_NOOP("RefreshPipeline", "Found %1 files")).arg(number(found)), true);
        },
        request.cancellation.get());
}

// What the person's rules send somewhere or set aside is decided here, and leaves `items` for
// `decided`: nothing after this (projects, the fixed rules, the model) hears of it. What they
// leave alone is dropped, should the scan have kept any.
Decisions applyOwnRules(const Request& request, QList<ScannedItem>& items, QList<ScannedItem>& decided)
{
    Decisions decisions;
    if (request.rules.isEmpty())
        return decisions;
    QList<ScannedItem> rest;
    rest.reserve(items.size());
    for (ScannedItem& item : items) {
        const UserRule* rule = request.rules.decide(RuleSubject::of(item, request.home));
        if (!rule) {
            // A folder's summary names what lies inside it, and the person's rules may keep
            // some of those names from any model.
            if (item.isDir && item.text)
                item.text = request.rules.withoutLeftAloneNames(*item.text);
            rest.append(std::move(item));
        } else if (rule->action != UserRule::Action::leaveAlone) {
            decisions.insert(item.id, UserRules::decision(*rule));
            decided.append(std::move(item));
        }
    }
    items = std::move(rest);
    return decisions;
}

void announce(int count, const Reports& reports)
{
    reports.status(count > 0 ? text(QT_TRANSLATE_NOOP("RefreshPipeline", "Looking at %1 files")).arg(number(count))
                             : text(QT_TRANSLATE_NOOP("RefreshPipeline", "Nothing new to sort")),
                   false);
}

// The failure's own words when the model was asked and no request came back with an answer.
std::optional<QString> everyRequestFailed(const QList<ScannedItem>& asked, const Decisions& decisions)
{
    std::optional<QString> failure;
    for (const ScannedItem& item : asked) {
        const auto decision = decisions.constFind(item.id);
        if (decision == decisions.cend())
            continue;
        switch (decision->provenance) {
            case Provenance::model:
            case Provenance::secondLook:
            case Provenance::unanswered:
                return std::nullopt;
            case Provenance::failed:
                if (!failure)
                    failure = decision->reason;
                break;
            default:
                break;
        }
    }
    return failure;
}

Classifier classifierFor(const Request& request, const Profile& profile)
{
    Classifier classifier(request.apiKey, profile);
    classifier.setClock(request.clock);
    classifier.setCancellation(request.cancellation);
    return classifier;
}

// Without a model, what the rules leave open is sorted by its kind; a junk-only refresh leaves
// it be, as only the model could have called it junk.
Decisions sortByKind(const QList<ScannedItem>& items, const Rules::Triage& ruled, TidyMode mode)
{
    Decisions decisions = ruled.decisions;
    if (mode == TidyMode::junkOnly)
        return decisions;
    for (const ScannedItem& item : items) {
        if (decisions.contains(item.id) || (item.isDir && item.kind != FileKind::folder))
            continue;
        if (std::optional<Decision> decision = KindSorting::decide(item))
            decisions.insert(item.id, std::move(*decision));
    }
    return decisions;
}

// Asks the model about what the rules left open, then takes a second look at what it was unsure
// of; false when the refresh failed or was stopped. `decisions` comes in with what the person's
// own rules decided, which counts as done.
bool askModel(const Request& request,
              const Profile& profile,
              const QList<ScannedItem>& items,
              const Rules::Triage& ruled,
              Outcome& outcome,
              const Reports& reports,
              Decisions& decisions)
{
    const Classifier classifier = classifierFor(request, profile);
    const auto progress = [&reports, total = outcome.classified, own = int(decisions.size())](int decided) {
        reports.progress(own + decided, total);
    };
    Classifier::Outcome<Decisions> answered = classifier.firstPass(ruled.toAsk, ruled.decisions, progress);
    if (const APIError* error = std::get_if<APIError>(&answered)) {
        outcome.cancelled = cancelled(request);
        outcome.failure = *error;
        return false;
    }
    decisions = std::get<Decisions>(std::move(answered));
    if (request.mode != TidyMode::junkOnly)
        decisions = classifier.secondLook(items, std::move(decisions));
    outcome.everyRequestFailed = everyRequestFailed(ruled.toAsk, decisions);
    return true;
}

bool failedToConnect(const Request& request, Outcome& outcome)
{
    // Sorting by kind sends nothing anywhere, so there is no connection to prove.
    if (request.profile.sortWith == SortWith::noModel)
        return false;
    std::optional<APIError> failure = checkConnection(
        request.apiKey, request.profile.sortingModel(), request.clock, request.cancellation, serverOf(request.profile));
    if (!failure)
        return false;
    outcome.cancelled = cancelled(request);
    outcome.failure = std::move(failure);
    outcome.connectionFailed = true;
    return true;
}

// Decides `items`, which the person's rules left open, and adds them to `decisions`, which holds
// what those rules decided; false when the refresh failed or was stopped.
bool decideTheRest(const Request& request,
                   const QList<ScannedItem>& items,
                   Outcome& outcome,
                   const Reports& reports,
                   Decisions& decisions,
                   Profile& profile)
{
    const bool withModel = request.profile.sortWith != SortWith::noModel;
    // Without a model, projects come only from the person.
    profile = withModel ? learnProjects(request, items, reports) : request.profile;
    if (cancelled(request)) {
        outcome.cancelled = true;
        return false;
    }
    announce(outcome.classified, reports);

    const Decisions own = decisions;
    const Rules::Triage ruled = Rules::triage(items, profile, request.mode);
    if (!withModel) {
        decisions = sortByKind(items, ruled, request.mode);
        reports.progress(outcome.classified, outcome.classified);
    } else if (!askModel(request, profile, items, ruled, outcome, reports, decisions)) {
        return false;
    }
    // The person's word stands over any answer that named one of these items all the same.
    decisions.insert(own);
    return true;
}

} // namespace

ScanOptions scanOptions(const Profile& profile, TidyMode mode, const QString& home)
{
    ScanOptions options;
    options.desktop = UserFolders::path(home, UserFolders::Folder::desktop);
    options.downloads = UserFolders::path(home, UserFolders::Folder::downloads);
    const bool narrow = mode == TidyMode::quick && profile.lastRun;
    for (const QString& folder : profile.scanFolders) {
        const QString root = QDir::cleanPath(home + u'/' + folder);
        if (!narrow || root == options.desktop || root == options.downloads)
            options.roots.append(QUrl::fromLocalFile(home + u'/' + folder));
    }
    if (mode == TidyMode::quick)
        options.since = profile.lastRun;
    for (const QString& name : HomeTree::excludedFromScan())
        options.exclude.append(QUrl::fromLocalFile(profile.homeBase + u'/' + name));
    return options;
}

void askRules(ScanOptions& options,
              const RuleBook& rules,
              const QString& home,
              const std::function<void(const RuleSubject&)>& leftAlone)
{
    // Only a rule that leaves items alone changes what the scan does; the others wait for the
    // items it describes.
    if (!rules.leavesAlone())
        return;
    options.home = home;
    options.askSite = rules.namesSite();
    options.leftAlone = [&rules, leftAlone](const RuleSubject& subject) {
        const UserRule* rule = rules.decide(subject);
        if (!rule || rule->action != UserRule::Action::leaveAlone)
            return false;
        if (leftAlone)
            leftAlone(subject);
        return true;
    };
}

std::optional<ModelServer> serverOf(const Profile& profile)
{
    return profile.sortWith == SortWith::ownServer ? std::optional(profile.server) : std::nullopt;
}

std::optional<APIError> checkConnection(const QString& apiKey,
                                        const QString& model,
                                        const Clock* clock,
                                        const CancellationPtr& cancellation,
                                        const std::optional<ModelServer>& server)
{
    ClaudeAPI ping(apiKey, model, server);
    ping.setClock(clock);
    ping.setCancellation(cancellation);
    const ClaudeAPI::Result check
        = ping.send(u"Reply with OK."_s, {QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, u"ping"_s}}}, 5);
    const APIError* error = std::get_if<APIError>(&check);
    if (!error)
        return std::nullopt;
    // An answer that is not the service's own (a sign-in page of a network, a proxy's notice)
    // means Claude was not reached, whatever the parser makes of it. A server of one's own that
    // answers a web page was reached, at the wrong address, and is told so.
    return error->kind == APIError::Kind::parse && !server ? APIError::of(APIError::Kind::transport) : *error;
}

Outcome run(const Request& request, const Reports& reports)
{
    Outcome outcome;
    if (failedToConnect(request, outcome))
        return outcome;
    QList<ScannedItem> items = scan(request, reports, &outcome.subjects);
    if (cancelled(request)) {
        outcome.cancelled = true;
        return outcome;
    }
    outcome.scanned = int(items.size());
    for (const ScannedItem& item : std::as_const(items))
        outcome.subjects.append(RuleSubject::of(item, request.home));
    outcome.capNotice = capToNewest(items);
    QList<ScannedItem> decidedByRules;
    Decisions decisions = applyOwnRules(request, items, decidedByRules);
    outcome.classified = int(items.size() + decidedByRules.size());
    reports.total(outcome.classified);

    Profile profile;
    if (!decideTheRest(request, items, outcome, reports, decisions, profile))
        return outcome;
    items += decidedByRules;
    outcome.plan = Planner::plan(items, decisions, profile);
    outcome.cancelled = cancelled(request);
    return outcome;
}

} // namespace RefreshPipeline
