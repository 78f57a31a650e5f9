#pragma once

#include "common/cancellation.h"
#include "model/plan_item.h"
#include "model/profile.h"
#include "model/tidy_mode.h"
#include "model/user_rule.h"
#include "planning/user_rules.h"
#include "scan/scan_options.h"
#include "understanding/api_error.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

class Clock;

// The background half of a refresh: connection check, scan, cap, learning projects, the rules,
// the model's first pass and second look, and the plan.
// Runs on a worker thread; everything it has to say to the controller goes through `Reports`.
namespace RefreshPipeline {

struct Request
{
    Profile profile;
    QString apiKey; // Claude's, or the person's own server's (which may have none)
    TidyMode mode = TidyMode::quick;
    QString home;
    const Clock* clock = nullptr;
    CancellationPtr cancellation;
    // The person's own rules, asked before anything else about every item.
    RuleBook rules;
};

// Called on the worker thread; the controller forwards them to its own thread.
struct Reports
{
    // `learning`: finding files or projects, as opposed to classifying them.
    std::function<void(const QString& status, bool learning)> status;
    std::function<void(int total)> total;
    // New projects the refresh learned, with the status that names them.
    std::function<void(const QList<Project>& added, const QString& status)> learned;
    std::function<void(int decided, int total)> progress;
};

struct Outcome
{
    std::optional<APIError> failure;
    bool connectionFailed = false;
    bool cancelled = false;
    QList<PlanItem> plan;
    std::optional<QString> capNotice;
    // The model was asked about items and every request failed: the failure, in its own words.
    // The plan still holds the items, left to the person with the failure as their reason.
    std::optional<QString> everyRequestFailed;
    int scanned = 0;
    int classified = 0; // what was left after the cap and handed to the classifier
    // Every item the scan kept, as the person's rules see it: what a rule's editor counts
    // when no plan is open.
    QList<RuleSubject> subjects;
};

// What a refresh of `mode` walks: for a quick refresh after the first, only the desktop's own
// Desktop and Downloads folders, and only what changed since; never the home base's own tree.
// Reads the desktop's folder settings: off the UI thread.
ScanOptions scanOptions(const Profile& profile, TidyMode mode, const QString& home);

// Has the scan ask `rules` about every entry before it reads anything from it: what they leave
// alone is never described, and `leftAlone` (from the scan's threads) hears what they saw of
// it. `rules` must outlive the scan.
void askRules(ScanOptions& options,
              const RuleBook& rules,
              const QString& home,
              const std::function<void(const RuleSubject&)>& leftAlone = {});

Outcome run(const Request& request, const Reports& reports);

// One tiny request that proves the key and the connection; nothing when they work.
std::optional<APIError> checkConnection(const QString& apiKey,
                                        const QString& model,
                                        const Clock* clock,
                                        const CancellationPtr& cancellation,
                                        const std::optional<ModelServer>& server = {});

// The person's own server when they sort with one.
std::optional<ModelServer> serverOf(const Profile& profile);

constexpr int kMaxItems = 25000;

} // namespace RefreshPipeline
