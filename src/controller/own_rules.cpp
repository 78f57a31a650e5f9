#include "own_rules.h"

#include "activity.h"
#include "plan_review.h"
#include "refresh_run.h"
#include "store_writer.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

OwnRules::OwnRules(Activity& activity, PlanReview& review, RefreshRun& refresh)
    : m_activity(activity)
    , m_review(review)
    , m_refresh(refresh)
{
    m_writing.setMaxThreadCount(1);
}

OwnRules::~OwnRules()
{
    m_writing.waitForDone();
}

void OwnRules::load()
{
    m_watcher.addPath(Store::dir());
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &OwnRules::reloadIfChanged);
    reloadIfChanged();
}

void OwnRules::loadNow()
{
    adopt(Store::loadRules());
}

void OwnRules::reloadIfChanged()
{
    // Queued behind the changes handed over so far, so it reads what they wrote; a change made
    // after it was queued is newer than what it reads.
    const quint64 generation = m_generation;
    QPointer<OwnRules> self(this);
    m_writing.start([self, generation] {
        Store::RulesRead read = Store::loadRules();
        QMetaObject::invokeMethod(self, [self, generation, read = std::move(read)] {
            if (self && self->m_generation == generation)
                self->adopt(read);
        });
    });
}

void OwnRules::waitUntilWritten()
{
    m_writing.waitForDone();
}

void OwnRules::adopt(const Store::RulesRead& read)
{
    if (read.keptAside)
        m_activity.setMessage(
            tr("Your rules couldn't be read, so none are in use. Brindlow kept the file as \u201C%1\u201D.")
                .arg(*read.keptAside));
    const bool first = !m_loaded;
    m_loaded = true;
    if (read.rules == m_rules && !first)
        return;
    setRules(read.rules);
}

void OwnRules::setRules(const QList<UserRule>& rules)
{
    m_rules = rules;
    m_book = RuleBook(m_rules);
    m_refresh.useRules(m_book);
    Q_EMIT rulesChanged();
}

const QList<UserRule>& OwnRules::rules() const
{
    return m_rules;
}

const RuleBook& OwnRules::book() const
{
    return m_book;
}

void OwnRules::change(const Edit& edit)
{
    QList<UserRule> rules = m_rules;
    edit(rules);
    setRules(rules);
    followInPlan();
    const quint64 generation = ++m_generation;
    QPointer<OwnRules> self(this);
    m_writing.start([self, edit, generation] {
        Store::RulesRead now;
        const Store::Failure failure = Store::updateRules(edit, &now);
        QMetaObject::invokeMethod(self, [self, generation, failure, now = std::move(now)] {
            if (!self)
                return;
            if (failure)
                self->m_activity.setMessage(StoreWriter::failureText(*failure));
            // The file holds this change and every one before it, with what another Brindlow
            // changed meanwhile.
            if (!failure && self->m_generation == generation)
                self->adopt(now);
        });
    });
}

void OwnRules::followInPlan()
{
    // A refresh or a move in hand owns the plan; a refresh asks the rules again as it ends.
    if (m_activity.isBusy() || m_review.plan().isEmpty())
        return;
    m_review.followRules(m_book, QDir::homePath());
}

std::optional<QString> OwnRules::add(UserRule rule)
{
    if (m_rules.size() >= UserRule::kMaxRules)
        return UserRules::tooManyText();
    rule.id.clear();
    if (std::optional<QString> why = UserRules::problem(rule))
        return why;
    change([rule](QList<UserRule>& rules) {
        if (rules.size() < UserRule::kMaxRules)
            rules.append(rule);
    });
    return std::nullopt;
}

std::optional<QString> OwnRules::replace(const QString& id, UserRule rule)
{
    rule.id = id;
    if (std::optional<QString> why = UserRules::problem(rule))
        return why;
    change([rule](QList<UserRule>& rules) {
        for (UserRule& stored : rules) {
            if (stored.id == rule.id)
                stored = rule;
        }
    });
    return std::nullopt;
}

void OwnRules::remove(const QString& id)
{
    change([id](QList<UserRule>& rules) { rules.removeIf([&id](const UserRule& rule) { return rule.id == id; }); });
}

void OwnRules::move(int from, int to)
{
    if (from < 0 || from >= m_rules.size() || to < 0 || to >= m_rules.size() || from == to)
        return;
    // By id and place, so that a list another Brindlow changed meanwhile moves the same rule.
    const QString id = m_rules[from].id;
    change([id, to](QList<UserRule>& rules) {
        const auto at = std::find_if(rules.begin(), rules.end(), [&id](const UserRule& rule) { return rule.id == id; });
        if (at == rules.end())
            return;
        const UserRule moved = *at;
        rules.erase(at);
        rules.insert(std::clamp<qsizetype>(to, 0, rules.size()), moved);
    });
}

std::optional<OwnRules::Matches> OwnRules::matches(const UserRule& rule) const
{
    UserRule checked = rule;
    if (UserRules::problem(checked))
        return std::nullopt;
    const RuleBook one({checked});
    const QString home = QDir::homePath();
    if (!m_review.plan().isEmpty()) {
        const auto count = std::count_if(m_review.plan().cbegin(), m_review.plan().cend(), [&](const PlanItem& item) {
            return one.decide(RuleSubject::of(item, home)) != nullptr;
        });
        return Matches {int(count), true};
    }
    const QList<RuleSubject>& scanned = m_refresh.lastScan();
    if (scanned.isEmpty())
        return std::nullopt;
    const auto count = std::count_if(
        scanned.cbegin(), scanned.cend(), [&](const RuleSubject& subject) { return one.decide(subject) != nullptr; });
    return Matches {int(count), false};
}

std::optional<UserRule> OwnRules::ruleLike(qint64 planItemId) const
{
    const int row = m_review.rowOf(planItemId);
    if (row < 0)
        return std::nullopt;
    const PlanItem& item = m_review.plan()[row];
    const RuleSubject subject = RuleSubject::of(item, QDir::homePath());
    UserRule rule;
    const QString suffix = QFileInfo(subject.name).suffix();
    const bool folder
        = item.kind == FileKind::folder || item.kind == FileKind::project || item.kind == FileKind::bundle;
    rule.name = !folder && !suffix.isEmpty() ? u"*."_s + suffix : subject.name;
    rule.folder = subject.folder;
    rule.site = item.site;
    // Where it goes now, unless that is a review folder: a rule that files things for review
    // is not one a person means.
    if (item.category == Category::junk)
        rule.action = UserRule::Action::junk;
    else if (item.category != Category::needsYou && item.category != Category::duplicate)
        rule.to = item.destFolder;
    return rule;
}
