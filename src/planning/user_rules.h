#pragma once

#include "model/decision.h"
#include "model/name_pattern.h"
#include "model/plan_item.h"
#include "model/user_rule.h"

#include <QList>

#include <optional>

// The person's rules in their order, compiled once and asked about item after item, from any
// thread. The first rule that matches an item decides it. A rule that sets aside as junk passes
// over the kinds that are never junk, so the rules after it decide those.
class RuleBook
{
public:
    RuleBook() = default;
    explicit RuleBook(const QList<UserRule>& rules);

    const QList<UserRule>& rules() const;
    bool isEmpty() const;
    // The rule that decides the item, or nothing.
    const UserRule* decide(const RuleSubject& subject) const;
    // Whether any rule looks at the site an item came from, so its origin must be looked up.
    bool namesSite() const;
    // Whether any rule leaves items alone, so the scan must ask before it reads an item.
    bool leavesAlone() const;
    // A folder's summary (Enrichment's "… Contents: a | b") without the names inside it that a
    // rule leaving items alone would keep from a model. What lies inside a folder is in no scan
    // folder, so only such a rule's name and kind are asked: a name is rather hidden than sent.
    QString withoutLeftAloneNames(const QString& summary) const;

private:
    QList<UserRule> m_rules;
    // Beside each rule; nothing where the rule has no pattern. A pattern that does not compile
    // (a file edited by hand) makes its rule match nothing.
    QList<std::optional<NamePattern>> m_patterns;
    QList<char> m_usable;
};

namespace UserRules {

// Makes the rule as the person typed it ready to keep: trims its texts, takes the host of a
// site given as an address, cleans its folder like any destination folder, and gives it an id.
// Nothing when it can be kept; otherwise why not, in words for the place it was entered.
std::optional<QString> problem(UserRule& rule);

// The refusal when the list is full.
QString tooManyText();

// The decision a send-to or junk rule makes, for the planner.
Decision decision(const UserRule& rule);

// Where a rule's junk goes, relative to the home base.
QString junkFolder();

// An open plan after the rules changed: an item a rule decides now follows that rule, an item
// a rule that no longer matches had decided waits for the person, and an item a rule leaves
// alone leaves the plan. Items the person edited by hand keep their own choice. `changed`
// (when given) receives how many items came or went or changed.
QList<PlanItem>
applyToPlan(const QList<PlanItem>& plan, const RuleBook& book, const QString& home, int* changed = nullptr);

} // namespace UserRules
