#include "rules.h"

#include "scan/kinds.h"

using namespace Qt::Literals::StringLiterals;

namespace Rules {

namespace {

Decision ruled(const QString& category, std::optional<QString> sub, const QString& reason)
{
    return Decision {category, std::move(sub), u"high"_s, std::nullopt, reason, std::nullopt};
}

bool containsAny(const QString& text, const QSet<QString>& terms)
{
    return std::any_of(terms.cbegin(), terms.cend(), [&text](const QString& term) { return text.contains(term); });
}

} // namespace

std::optional<Decision> junkDecision(const ScannedItem& item, bool keepInstallers)
{
    const QStringList& hints = item.junkHints;
    if (hints.contains(u"exact-duplicate"_s))
        return ruled(u"duplicate"_s, std::nullopt, u"Exact copy of a file you're keeping"_s);
    if (Kinds::hardProtected().contains(item.kind))
        return std::nullopt;
    if (hints.contains(u"partial-download"_s))
        return ruled(u"junk"_s, u"Unfinished downloads"_s, u"Leftover from a download that never finished"_s);
    if (hints.contains(u"empty-file"_s))
        return ruled(u"junk"_s, u"Empty files"_s, u"Empty file"_s);
    if (hints.contains(u"installer"_s) && !keepInstallers)
        return ruled(u"junk"_s, u"Installers"_s, u"App installer"_s);
    if (hints.contains(u"already-extracted-archive"_s))
        return ruled(u"junk"_s, u"Already unzipped"_s, u"Its unzipped folder is right next to it"_s);
    return std::nullopt;
}

std::optional<Decision> keywordDecision(const ScannedItem& item, const QList<Project>& projects)
{
    const QString nameText = (item.relPath() + u' ' + item.whereFrom.value_or(QString())).toLower();
    const QString contentText = item.text.value_or(QString()).toLower();
    const Project* matched = nullptr;
    bool inName = false;
    for (const Project& project : projects) {
        const QSet<QString> terms = project.terms();
        const bool byName = containsAny(nameText, terms);
        if (!byName && !containsAny(contentText, terms))
            continue;
        if (matched)
            return std::nullopt;
        matched = &project;
        inName = byName;
    }
    if (!matched)
        return std::nullopt;
    const QString reason = inName ? u"Matched "_s + matched->displayName() + u" in its name or folder"_s
                                  : u"Mentions "_s + matched->displayName() + u" in its text"_s;
    return ruled(u"project:"_s + matched->name, std::nullopt, reason);
}

} // namespace Rules
