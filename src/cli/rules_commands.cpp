#include "rules_commands.h"

#include "commands.h"
#include "common/numbers.h"
#include "controller/app_state.h"
#include "controller/own_rules.h"
#include "model/store.h"
#include "visible_text.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>

#include <variant>

using namespace Qt::Literals::StringLiterals;

namespace RulesCommands {

namespace {

int usageError(QTextStream& err, const QString& problem)
{
    err << "brindlow-cli: " << VisibleText::of(problem) << "\nRun 'brindlow-cli rules --help' for usage.\n";
    return CliCommands::kUsage;
}

int refused(QTextStream& err, const QString& reason)
{
    err << VisibleText::of(reason) << "\nNothing was changed.\n";
    return CliCommands::kFailed;
}

QString ruleLine(const UserRule& rule)
{
    return VisibleText::of(rule.conditionsText()) + u" \u2192 "_s + VisibleText::of(rule.actionText());
}

QString kindNames()
{
    QStringList names;
    for (int kind = 0; kind <= int(FileKind::other); ++kind)
        names.append(rawValue(FileKind(kind)));
    return names.join(u", "_s);
}

// The rule a person numbered (1 the first), or nothing when there is no such rule.
std::optional<int> ruleIndex(const OwnRules& rules, const QString& text)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    if (!ok || number < 1 || number > rules.rules().size())
        return std::nullopt;
    return number - 1;
}

QString noSuchRule(const OwnRules& rules, const QString& text)
{
    const QString none = u"there is no rule numbered '"_s + text + u"'"_s;
    if (rules.rules().isEmpty())
        return none + u": you have no rules"_s;
    return none + u": the rules are numbered 1 to "_s + QString::number(rules.rules().size());
}

// How many items of `before` are gone from `after` or differ there.
int itemsChanged(const QList<PlanItem>& before, const QList<PlanItem>& after)
{
    QHash<qint64, const PlanItem*> now;
    for (const PlanItem& item : after)
        now.insert(item.id, &item);
    int changed = 0;
    for (const PlanItem& item : before) {
        const PlanItem* kept = now.value(item.id);
        changed += !kept || !(*kept == item);
    }
    return changed;
}

// Waits until the rules and the plan they changed are on disk, then says what was `done` and
// what it did to the open plan; nothing is said done that was not saved.
int written(AppState& state, const QList<PlanItem>& planBefore, const QString& done, QTextStream& out, QTextStream& err)
{
    // The write reports back through the event queue; a change the file does not hold was not
    // saved, whatever the reason.
    state.rules().waitUntilWritten();
    QCoreApplication::sendPostedEvents();
    if (Store::loadRules().rules != state.rules().rules()) {
        err << VisibleText::of(state.activity().message().value_or(u"Your rules could not be saved."_s)) << '\n';
        return CliCommands::kFailed;
    }
    if (!state.review().flushEdits()) {
        err << VisibleText::of(state.review().saveProblem().value_or(PlanReview::planNotSavedText())) << '\n';
        return CliCommands::kFailed;
    }
    out << done;
    if (planBefore.isEmpty())
        return CliCommands::kOk;
    const int changed = itemsChanged(planBefore, state.review().plan());
    if (changed == 0)
        out << "It changed nothing in the open plan.\n";
    else
        out << "It changed " << Numbers::count(changed) << (changed == 1 ? " item" : " items")
            << " of the open plan.\n";
    return CliCommands::kOk;
}

int list(const OwnRules& rules, QTextStream& out)
{
    if (rules.rules().isEmpty()) {
        out << "You have no rules. Add one with 'brindlow-cli rules add'.\n";
        return CliCommands::kOk;
    }
    for (int i = 0; i < rules.rules().size(); ++i)
        out << i + 1 << ". " << ruleLine(rules.rules().at(i)) << '\n';
    return CliCommands::kOk;
}

// One option of `rules add` with its value put into `rule`; otherwise why not.
std::optional<QString> takeOption(UserRule& rule, const QString& option, const QString& value)
{
    if (option == u"--name") {
        rule.name = value;
    } else if (option == u"--folder") {
        rule.folder = value;
    } else if (option == u"--site") {
        rule.site = value;
    } else if (option == u"--to") {
        rule.to = value;
    } else if (option == u"--kind") {
        rule.kind = fileKindFromRaw(value.trimmed().toLower());
        if (!rule.kind)
            return u"'"_s + value + u"' is not a kind; use one of "_s + kindNames();
    } else {
        const std::optional<qint64> size = parseSize(value);
        if (!size)
            return u"'"_s + value + u"' is not a size for "_s + option
                + u": write bytes, or a number with KB, MB, GB or TB, like 500KB or 1.5GB"_s;
        (option == u"--min-size" ? rule.minSize : rule.maxSize) = *size;
    }
    return std::nullopt;
}

// The rule `rules add` was given, or why not.
std::variant<UserRule, QString> ruleFromOptions(const QStringList& args)
{
    static const QStringList withValue {
        u"--name"_s, u"--kind"_s, u"--folder"_s, u"--site"_s, u"--min-size"_s, u"--max-size"_s, u"--to"_s};
    UserRule rule;
    QStringList given;
    QStringList actions;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& option = args[i];
        if (given.contains(option))
            return option + u" is given twice"_s;
        given.append(option);
        if (option == u"--junk" || option == u"--leave") {
            actions.append(option);
            rule.action = option == u"--junk" ? UserRule::Action::junk : UserRule::Action::leaveAlone;
            continue;
        }
        if (!withValue.contains(option))
            return u"unknown option '"_s + option + u"' for rules add"_s;
        if (i + 1 >= args.size())
            return option + u" needs a value"_s;
        if (option == u"--to")
            actions.append(option);
        if (std::optional<QString> problem = takeOption(rule, option, args[++i]))
            return *problem;
    }
    if (actions.size() != 1)
        return actions.isEmpty() ? u"say what the rule does: --to FOLDER, --junk or --leave"_s
                                 : u"a rule does one thing: choose one of "_s + actions.join(u", "_s);
    if (actions.first() == u"--to")
        rule.action = UserRule::Action::sendTo;
    return rule;
}

int add(AppState& state, const QStringList& args, QTextStream& out, QTextStream& err)
{
    std::variant<UserRule, QString> parsed = ruleFromOptions(args);
    if (const QString* problem = std::get_if<QString>(&parsed))
        return usageError(err, *problem);
    OwnRules& rules = state.rules();
    const QList<PlanItem> planBefore = state.review().plan();
    if (const std::optional<QString> refusal = rules.add(std::get<UserRule>(parsed)))
        return refused(err, *refusal);
    const QString done
        = u"Added rule "_s + QString::number(rules.rules().size()) + u": "_s + ruleLine(rules.rules().last()) + u'\n';
    return written(state, planBefore, done, out, err);
}

int remove(AppState& state, const QStringList& args, QTextStream& out, QTextStream& err)
{
    OwnRules& rules = state.rules();
    if (args.size() != 1)
        return usageError(err, u"rules remove takes the number of one rule"_s);
    const std::optional<int> index = ruleIndex(rules, args[0]);
    if (!index)
        return usageError(err, noSuchRule(rules, args[0]));
    const UserRule gone = rules.rules().at(*index);
    const QList<PlanItem> planBefore = state.review().plan();
    rules.remove(gone.id);
    return written(state,
                   planBefore,
                   u"Removed rule "_s + QString::number(*index + 1) + u": "_s + ruleLine(gone) + u'\n',
                   out,
                   err);
}

int move(AppState& state, const QStringList& args, QTextStream& out, QTextStream& err)
{
    OwnRules& rules = state.rules();
    if (args.size() != 2)
        return usageError(err, u"rules move takes the number of a rule and the place it goes to"_s);
    const std::optional<int> from = ruleIndex(rules, args[0]);
    const std::optional<int> to = ruleIndex(rules, args[1]);
    if (!from || !to)
        return usageError(err, noSuchRule(rules, from ? args[1] : args[0]));
    const QList<PlanItem> planBefore = state.review().plan();
    rules.move(*from, *to);
    QString listed;
    QTextStream listing(&listed);
    list(rules, listing);
    listing.flush();
    return written(state, planBefore, listed, out, err);
}

} // namespace

void sayIfKeptAside(QTextStream& err)
{
    if (const std::optional<QString> keptAside = Store::loadRules().keptAside)
        err << "Your rules couldn't be read, so none are in use. Brindlow kept the file as "
            << VisibleText::of(QDir(Store::dir()).filePath(*keptAside)) << ".\n";
}

int run(AppState& state, const QStringList& args, QTextStream& out, QTextStream& err)
{
    const QString verb = args.value(0);
    if (verb.isEmpty())
        return list(state.rules(), out);
    if (verb == u"add")
        return add(state, args.mid(1), out, err);
    if (verb == u"remove")
        return remove(state, args.mid(1), out, err);
    if (verb == u"move")
        return move(state, args.mid(1), out, err);
    return usageError(err, u"unknown command 'rules "_s + verb + u"'"_s);
}

std::optional<qint64> parseSize(QStringView text)
{
    static const QRegularExpression form(u"^\\s*([0-9]{1,15})(?:\\.([0-9]{1,3}))?\\s*(?:([kmgt])(i?)b?|b)?\\s*$"_s,
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    // Counted in whole numbers: "1.1KB" is 1,100 bytes exactly, which no binary fraction is.
    const QString fraction = match.captured(2);
    qint64 digits = QString(match.captured(1) + fraction).toLongLong();
    qint64 scale = 1;
    for (qsizetype i = 0; i < fraction.size(); ++i)
        scale *= 10;
    const QString unit = match.captured(3).toLower();
    const int power = unit.isEmpty() ? 0 : int(QStringView(u"kmgt").indexOf(unit.at(0))) + 1;
    const qint64 base = match.capturedLength(4) > 0 ? 1024 : 1000;
    for (int i = 0; i < power; ++i) {
        if (qMulOverflow(digits, base, &digits))
            return std::nullopt;
    }
    // A fraction of a byte is no size a file can have.
    if (digits % scale != 0)
        return std::nullopt;
    return digits / scale;
}

} // namespace RulesCommands
