#include "user_rules.h"

#include "model/home_tree.h"
#include "planner.h"
#include "scan/kinds.h"

#include <QCoreApplication>
#include <QDir>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("UserRules", source);
}

std::optional<QString> trimmedOrNothing(const std::optional<QString>& value)
{
    if (!value)
        return std::nullopt;
    const QString trimmed = value->trimmed();
    return trimmed.isEmpty() ? std::nullopt : std::optional(trimmed);
}

// The kind a pattern of the form "*.ext" names by its extension alone, if any.
std::optional<FileKind> kindOfPattern(const std::optional<QString>& name)
{
    if (!name || !name->startsWith(u"*."_s))
        return std::nullopt;
    const QString ext = name->mid(2).toLower();
    if (ext.contains(u'*') || ext.contains(u'?') || ext.contains(u'[') || ext.contains(u'.'))
        return std::nullopt;
    const auto found = Kinds::map().constFind(ext);
    return found == Kinds::map().cend() ? std::nullopt : std::optional(*found);
}

std::optional<QString> siteProblem(UserRule& rule)
{
    rule.site = trimmedOrNothing(rule.site);
    if (!rule.site)
        return std::nullopt;
    QString host = *rule.site;
    if (host.contains(u"://"_s))
        host = QUrl(host).host();
    host = host.toLower();
    while (host.endsWith(u'.'))
        host.chop(1);
    const bool usable = !host.isEmpty() && !host.contains(u'/') && !host.contains(u' ') && !host.contains(u'@')
        && !host.contains(u':') && QUrl(u"https://"_s + host).host() == host;
    if (!usable)
        return text(QT_TRANSLATE_NOOP("UserRules", "\u201C%1\u201D is not a site. Write it like bank.example.com."))
            .arg(*rule.site);
    rule.site = host;
    return std::nullopt;
}

std::optional<QString> folderProblem(UserRule& rule)
{
    rule.folder = trimmedOrNothing(rule.folder);
    if (!rule.folder)
        return std::nullopt;
    const QString cleaned = QDir::cleanPath(*rule.folder);
    if (cleaned.startsWith(u'/') || cleaned == u".." || cleaned.startsWith(u"../"_s) || cleaned == u".")
        return text(QT_TRANSLATE_NOOP(
            "UserRules", "Name a folder Brindlow tidies, inside your home folder, like \u201CDownloads\u201D."));
    rule.folder = cleaned;
    return std::nullopt;
}

std::optional<QString> destinationProblem(UserRule& rule)
{
    const QString typed = rule.to.trimmed();
    if (typed.isEmpty())
        return text(QT_TRANSLATE_NOOP("UserRules", "Choose the folder these items go to."));
    if (typed.startsWith(u'/') || typed.startsWith(u'~'))
        return text(QT_TRANSLATE_NOOP(
            "UserRules", "The folder has to be inside your home base. Write it like \u201CLibrary/Torrents\u201D."));
    const QStringList pieces = typed.split(u'/', Qt::SkipEmptyParts);
    if (pieces.contains(u".."_s))
        return text(QT_TRANSLATE_NOOP("UserRules", "The folder can't lead out of your home base."));
    const std::optional<QString> cleaned = Planner::cleanFolderPath(typed);
    if (!cleaned)
        return text(QT_TRANSLATE_NOOP("UserRules", "\u201C%1\u201D can't be used as a folder name.")).arg(typed);
    rule.to = *cleaned;
    return std::nullopt;
}

std::optional<QString> junkProblem(const UserRule& rule)
{
    const std::optional<FileKind> kind = rule.kind ? rule.kind : kindOfPattern(rule.name);
    if (kind && Kinds::hardProtected().contains(*kind))
        return text(QT_TRANSLATE_NOOP(
                        "UserRules",
                        "Brindlow never sets aside %1 as junk. Send them to a folder, or leave them alone."))
            .arg(UserRule::kindWords(*kind));
    return std::nullopt;
}

PlanItem decided(PlanItem item, const UserRule& rule)
{
    const Decision made = UserRules::decision(rule);
    item.destFolder = rule.action == UserRule::Action::junk ? UserRules::junkFolder() : rule.to;
    item.category = made.category;
    item.confidence = made.confidence;
    item.reason = made.reason;
    item.approved = true;
    // A folder the person chose takes the item as it is named, as a fresh plan would.
    item.newName.reset();
    item.suggestedProject.reset();
    item.keptCopy.reset();
    item.requestFailed = false;
    item.rule = rule.id;
    return item;
}

PlanItem waitingForThePerson(PlanItem item)
{
    item.destFolder = HomeTree::needsYou();
    item.category = Category::needsYou;
    item.confidence = Confidence::low;
    item.reason
        = text(QT_TRANSLATE_NOOP("UserRules", "None of your rules covers it any more, so it is yours to place"));
    item.approved = false;
    item.rule.reset();
    return item;
}

} // namespace

RuleBook::RuleBook(const QList<UserRule>& rules)
{
    // Rules come from a file a person may have edited by hand: each is checked as if it had just
    // been typed, and one that would be refused (a folder leading out of the home base, junk for
    // a protected kind) matches nothing.
    for (const UserRule& given : rules) {
        UserRule rule = given;
        const bool usable = !UserRules::problem(rule);
        std::optional<NamePattern> pattern = usable && rule.name ? NamePattern::compile(*rule.name) : std::nullopt;
        m_rules.append(usable ? rule : given);
        m_usable.append(usable);
        m_patterns.append(std::move(pattern));
    }
}

const QList<UserRule>& RuleBook::rules() const
{
    return m_rules;
}

QString RuleBook::withoutLeftAloneNames(const QString& summary) const
{
    static const QString marker = u". Contents: "_s;
    const qsizetype at = summary.indexOf(marker);
    if (at < 0 || !leavesAlone())
        return summary;
    QStringList kept;
    for (const QString& name : summary.mid(at + marker.size()).split(u" | "_s)) {
        const QString folded = NamePattern::fold(name);
        const FileKind kind = Kinds::map().value(Kinds::extension(name), FileKind::other);
        bool hidden = false;
        for (qsizetype i = 0; i < m_rules.size() && !hidden; ++i) {
            const UserRule& rule = m_rules[i];
            if (!m_usable[i] || rule.action != UserRule::Action::leaveAlone || (!rule.name && !rule.kind))
                continue;
            hidden = (!m_patterns[i] || m_patterns[i]->matches(folded)) && (!rule.kind || *rule.kind == kind);
        }
        if (!hidden)
            kept.append(name);
    }
    return summary.left(at + marker.size()) + kept.join(u" | "_s);
}

bool RuleBook::isEmpty() const
{
    return m_rules.isEmpty();
}

const UserRule* RuleBook::decide(const RuleSubject& subject) const
{
    for (qsizetype i = 0; i < m_rules.size(); ++i) {
        const UserRule& rule = m_rules[i];
        if (!m_usable[i] || !rule.hasCondition() || !rule.matchesBesidesName(subject))
            continue;
        if (m_patterns[i] && !m_patterns[i]->matches(subject.folded))
            continue;
        if (rule.action == UserRule::Action::junk && Kinds::hardProtected().contains(subject.kind))
            continue;
        return &rule;
    }
    return nullptr;
}

bool RuleBook::namesSite() const
{
    return std::any_of(m_rules.cbegin(), m_rules.cend(), [](const UserRule& rule) { return rule.site.has_value(); });
}

bool RuleBook::leavesAlone() const
{
    return std::any_of(m_rules.cbegin(), m_rules.cend(), [](const UserRule& rule) {
        return rule.action == UserRule::Action::leaveAlone;
    });
}

namespace UserRules {

std::optional<QString> problem(UserRule& rule)
{
    rule.name = trimmedOrNothing(rule.name);
    if (rule.name) {
        QString why;
        if (!NamePattern::compile(*rule.name, &why))
            return why;
    }
    if (std::optional<QString> why = folderProblem(rule))
        return why;
    if (std::optional<QString> why = siteProblem(rule))
        return why;
    if ((rule.minSize && *rule.minSize < 0) || (rule.maxSize && *rule.maxSize < 0))
        return text(QT_TRANSLATE_NOOP("UserRules", "A size can't be below nothing."));
    if (rule.minSize && rule.maxSize && *rule.minSize > *rule.maxSize)
        return text(QT_TRANSLATE_NOOP("UserRules", "The smallest size is larger than the largest."));
    if (!rule.hasCondition())
        return text(QT_TRANSLATE_NOOP("UserRules",
                                      "A rule needs at least one thing to look for: a name, a kind, a folder, a site "
                                      "or a size."));
    if (rule.action == UserRule::Action::sendTo) {
        if (std::optional<QString> why = destinationProblem(rule))
            return why;
    } else {
        rule.to.clear();
    }
    if (rule.action == UserRule::Action::junk) {
        if (std::optional<QString> why = junkProblem(rule))
            return why;
    }
    if (rule.id.isEmpty())
        rule.id = UserRule::newId();
    return std::nullopt;
}

QString tooManyText()
{
    return text(
               QT_TRANSLATE_NOOP("UserRules", "You have %1 rules, the most Brindlow keeps. Remove one to add another."))
        .arg(UserRule::kMaxRules);
}

QString junkFolder()
{
    return HomeTree::toDelete() + u"/Your rules"_s;
}

Decision decision(const UserRule& rule)
{
    const bool junk = rule.action == UserRule::Action::junk;
    return {junk ? Category(Category::junk) : Category(Category::user),
            junk ? std::optional(u"Your rules"_s) : std::optional(rule.to),
            Confidence::high,
            std::nullopt,
            rule.reason(),
            std::nullopt,
            Provenance::userRule,
            rule.id};
}

QList<PlanItem> applyToPlan(const QList<PlanItem>& plan, const RuleBook& book, const QString& home, int* changed)
{
    QList<PlanItem> result;
    result.reserve(plan.size());
    int count = 0;
    for (const PlanItem& item : plan) {
        if (item.edited) {
            result.append(item);
            continue;
        }
        const UserRule* rule = book.decide(RuleSubject::of(item, home));
        if (rule && rule->action == UserRule::Action::leaveAlone) {
            ++count;
            continue;
        }
        PlanItem now = rule ? decided(item, *rule) : item.rule ? waitingForThePerson(item) : item;
        if (!(now == item))
            ++count;
        result.append(std::move(now));
    }
    if (changed)
        *changed = count;
    return result;
}

} // namespace UserRules
