#include "rules.h"

#include "model/home_tree.h"
#include "naming.h"
#include "scan/kinds.h"

using namespace Qt::Literals::StringLiterals;

namespace Rules {

namespace {

Decision ruled(const Category& category, std::optional<QString> sub, const QString& reason, Provenance provenance)
{
    return Decision {category, std::move(sub), Confidence::high, std::nullopt, reason, std::nullopt, provenance};
}

Decision junk(const QString& sub, const QString& reason)
{
    return ruled(Category::junk, sub, reason, Provenance::junkRule);
}

bool containsAny(const QString& text, const QSet<QString>& terms)
{
    return std::any_of(terms.cbegin(), terms.cend(), [&text](const QString& term) { return text.contains(term); });
}

} // namespace

std::optional<Decision> junkDecision(const ScannedItem& item, bool keepInstallers)
{
    const QList<JunkHint>& hints = item.junkHints;
    if (hints.contains(JunkHint::exactDuplicate))
        return ruled(Category::duplicate, std::nullopt, u"Exact copy of a file you're keeping"_s, Provenance::junkRule);
    if (Kinds::hardProtected().contains(item.kind))
        return std::nullopt;
    if (hints.contains(JunkHint::partialDownload))
        return junk(HomeTree::unfinishedDownloads(), u"Leftover from a download that never finished"_s);
    if (hints.contains(JunkHint::emptyFile))
        return junk(HomeTree::emptyFiles(), u"Empty file"_s);
    if (hints.contains(JunkHint::installer) && !keepInstallers)
        return junk(HomeTree::installers(), u"App installer"_s);
    if (hints.contains(JunkHint::alreadyExtractedArchive))
        return junk(HomeTree::alreadyUnzipped(), u"Its unzipped folder is right next to it"_s);
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
    return ruled(Category::forProject(matched->name), std::nullopt, reason, Provenance::keywordRule);
}

Triage triage(const QList<ScannedItem>& items, const Profile& profile, TidyMode mode)
{
    Triage result;
    for (const ScannedItem& item : items) {
        if (const std::optional<Decision> junk = junkDecision(item, profile.keepInstallers)) {
            result.decisions.insert(item.id, *junk);
            continue;
        }
        if (mode == TidyMode::junkOnly) {
            if (item.kind == FileKind::image
                && (item.junkHints.contains(JunkHint::screenshotName) || item.junkHints.contains(JunkHint::tinyImage)))
                result.toAsk.append(item);
            continue;
        }
        if (const std::optional<Decision> keyword = keywordDecision(item, profile.projects)) {
            result.decisions.insert(item.id, *keyword);
            if (profile.renameFiles && !item.isDir && Naming::isMeaningless(item.name))
                result.toAsk.append(item);
            continue;
        }
        if (item.isDir && item.kind != FileKind::folder)
            continue;
        result.toAsk.append(item);
    }
    return result;
}

} // namespace Rules
