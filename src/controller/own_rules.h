#pragma once

#include "model/store.h"
#include "model/user_rule.h"
#include "planning/user_rules.h"

#include <QFileSystemWatcher>
#include <QList>
#include <QObject>
#include <QThreadPool>

#include <functional>
#include <optional>

class Activity;
class PlanReview;
class RefreshRun;

// The rules the person stated. They live in memory for the views and the next refresh; every
// change goes to the rules file on a thread of its own, applied there on top of what the file
// holds (the command line may have changed it meanwhile), and to the open plan at once, where
// items the person edited by hand keep their own choice.
class OwnRules : public QObject
{
    Q_OBJECT
public:
    OwnRules(Activity& activity, PlanReview& review, RefreshRun& refresh);
    // Waits for the changes handed to the file.
    ~OwnRules() override;

    // Start-up: reads the rules off the UI thread, and watches the file for other Brindlows.
    // A damaged file is kept aside and the person is told once.
    void load();
    // The same, at once, on the calling thread: for the command line, which has no event loop
    // to wait in.
    void loadNow();
    // Blocks until every change handed over is on disk (the command line, quitting).
    void waitUntilWritten();

    const QList<UserRule>& rules() const;
    // The rules compiled for matching; shared with the refresh that starts next.
    const RuleBook& book() const;

    // Each of these checks the rule (UserRules::problem) and refuses with the reason, changing
    // nothing; otherwise memory and the open plan change at once and the file follows.
    std::optional<QString> add(UserRule rule);
    std::optional<QString> replace(const QString& id, UserRule rule);
    void remove(const QString& id);
    // The rule at `from` goes to position `to` (both in `rules()`); out of range is ignored.
    void move(int from, int to);

    // What a rule's editor shows: how many items of the open plan, or of the last scan when no
    // plan is open, the rule matches. Nothing when neither is there.
    struct Matches
    {
        int count = 0;
        bool ofPlan = false; // else of the last scan
    };
    std::optional<Matches> matches(const UserRule& rule) const;

    // A rule prefilled from a plan item, for "Always do this for files like this…": its
    // extension, the folder it lies in, the site it came from, and where it now goes.
    std::optional<UserRule> ruleLike(qint64 planItemId) const;

Q_SIGNALS:
    // rules() changed, here or in another Brindlow.
    void rulesChanged();

private:
    using Edit = std::function<void(QList<UserRule>&)>;
    void adopt(const Store::RulesRead& read);
    void setRules(const QList<UserRule>& rules);
    void change(const Edit& edit);
    void reloadIfChanged();
    void followInPlan();

    Activity& m_activity;
    PlanReview& m_review;
    RefreshRun& m_refresh;
    QList<UserRule> m_rules;
    RuleBook m_book;
    QThreadPool m_writing; // one thread: reads and changes land in the order they were made
    QFileSystemWatcher m_watcher;
    // One per change made here: what the file says is adopted only when it includes them all.
    quint64 m_generation = 0;
    bool m_loaded = false;
};
