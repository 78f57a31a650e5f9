#include "planner.h"

#include "model/blanks.h"
#include "model/graphemes.h"
#include "model/home_tree.h"
#include "model/user_rule.h"
#include "naming.h"
#include "scan/kinds.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Planner {

namespace {

QString lastPiece(const QString& name)
{
    const QStringList pieces = name.split(u'/', Qt::SkipEmptyParts);
    return pieces.isEmpty() ? name : pieces.last();
}

const Project* knownProject(const QString& wanted, const QList<Project>& projects)
{
    const QString lower = wanted.toLower();
    for (const Project& project : projects) {
        if (project.name.toLower() == lower || trimBlanks(lastPiece(project.name)).toLower() == lower)
            return &project;
    }
    return nullptr;
}

// The extension as the file has it, case kept ("JPG" stays "JPG"); none for ".profile".
QString originalExtension(const QString& name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.mid(dot + 1) : QString();
}

// A low confidence sends everything else to the person; a doubtful duplicate is still a
// duplicate, and a doubtful library item still belongs in the library.
bool keptWhenUnsure(const Category& category)
{
    const Category::Kind kind = category.kind();
    return kind == Category::needsYou || kind == Category::duplicate || kind == Category::library;
}

// A folder the person chose takes the item as it is named.
bool neverRenamed(const Category& category)
{
    const Category::Kind kind = category.kind();
    return kind == Category::junk || kind == Category::duplicate || kind == Category::needsYou
        || kind == Category::user;
}

Decision needsYou(const QString& reason)
{
    return Decision {Category::needsYou,
                     std::nullopt,
                     Confidence::low,
                     std::nullopt,
                     reason,
                     std::nullopt,
                     Provenance::protectedKind};
}

} // namespace

std::optional<QString> pick(const std::optional<QString>& sub, const QStringList& list)
{
    if (!sub)
        return std::nullopt;
    // Line breaks, slashes or leading dots from a reply must never reach the file system.
    const std::optional<QString> cleaned = Naming::folderName(*sub);
    if (!cleaned)
        return std::nullopt;
    for (const QString& name : list) {
        if (name.compare(*cleaned, Qt::CaseInsensitive) == 0)
            return name;
    }
    const QString trimmed = trimBlanks(*cleaned);
    const qsizetype words = trimmed.split(u' ', Qt::SkipEmptyParts).size();
    const bool hasLetter = std::any_of(trimmed.cbegin(), trimmed.cend(), [](QChar c) { return c.isLetter(); });
    if (words < 1 || words > 4 || Graphemes::count(trimmed) > 32 || !hasLetter)
        return std::nullopt;
    QString accepted = QString(trimmed).replace(u':', u'-').trimmed();
    if (accepted.isEmpty())
        return std::nullopt;
    accepted[0] = accepted[0].toUpper();
    return accepted;
}

std::optional<QString> projectFolder(const QString& name, FileKind kind, const std::optional<QString>& sub)
{
    const std::optional<QString> folder = cleanFolderPath(QString(name).replace(u':', u'-').trimmed());
    if (!folder)
        return std::nullopt;
    return HomeTree::projects() + u'/' + *folder + u'/'
        + pick(sub, HomeTree::projectSubs()).value_or(HomeTree::kindFolder(kind));
}

std::optional<QString> cleanFolderPath(const QString& path)
{
    QStringList pieces;
    for (const QString& piece : path.split(u'/', Qt::SkipEmptyParts)) {
        const std::optional<QString> folder = Naming::folderName(piece);
        if (!folder)
            return std::nullopt;
        pieces.append(*folder);
    }
    if (pieces.isEmpty())
        return std::nullopt;
    return pieces.join(u'/');
}

namespace {

// Where an item goes, or why no folder can be made from what the decision names.
struct Destination
{
    QString folder;
    std::optional<QString> problem;
};

Destination projectDestination(const Decision& decision, const ScannedItem& item, const Profile& profile)
{
    const Project* project = knownProject(decision.category.projectName(), profile.projects);
    if (!project)
        return {HomeTree::needsYou(), std::nullopt};
    const std::optional<QString> folder = projectFolder(project->folderPath(), item.kind, decision.sub);
    if (!folder) {
        return {HomeTree::needsYou(),
                u"The project name \u201C"_s + project->displayName()
                    + u"\u201D can't be used as a folder name, so this one is yours to place"_s};
    }
    return {*folder, std::nullopt};
}

// A category's folder and the sub-folder the decision names from its list, or "Other".
Destination inCategory(const QString& folder, const Decision& decision, const QStringList& subs)
{
    return {folder + u'/' + pick(decision.sub, subs).value_or(HomeTree::other()), std::nullopt};
}

Destination junkDestination(const Decision& decision)
{
    const QString junkRoot = HomeTree::toDelete() + u'/';
    if (!decision.sub)
        return {junkRoot + HomeTree::screenshotsAndImages(), std::nullopt};
    const std::optional<QString> folder = Naming::folderName(*decision.sub);
    if (!folder)
        return {HomeTree::needsYou(),
                u"The folder suggested for it can't be used as a folder name, so this one is yours to place"_s};
    return {junkRoot + *folder, std::nullopt};
}

// The folder the person named, as a path under the home base; checked when the rule was kept,
// but a rules file edited by hand could still name a way out.
Destination chosenDestination(const Decision& decision)
{
    const std::optional<QString> folder = decision.sub ? cleanFolderPath(*decision.sub) : std::nullopt;
    if (!folder)
        return {
            HomeTree::needsYou(),
            QCoreApplication::translate(
                "Planner", "The folder your rule names can't be used as a folder name, so this one is yours to place")};
    return {*folder, std::nullopt};
}

Destination resolve(const Decision& decision, const ScannedItem& item, const Profile& profile)
{
    switch (decision.category.kind()) {
        case Category::project:
            return projectDestination(decision, item, profile);
        case Category::creator:
            return inCategory(HomeTree::creator(), decision, HomeTree::creatorSubs());
        case Category::personal:
            return inCategory(HomeTree::personal(), decision, HomeTree::personalSubs());
        case Category::library:
            return inCategory(HomeTree::library(), decision, HomeTree::librarySubs());
        case Category::admin:
            return {HomeTree::workAdmin(), std::nullopt};
        case Category::archive:
            return {HomeTree::archiveOf(item.modified.toLocalTime().date().year()), std::nullopt};
        case Category::junk:
            return junkDestination(decision);
        case Category::duplicate:
            return {HomeTree::duplicates(), std::nullopt};
        case Category::user:
            return chosenDestination(decision);
        case Category::needsYou:
        case Category::unknown:
            break;
    }
    return {HomeTree::needsYou(), std::nullopt};
}

PlanItem planned(const ScannedItem& item,
                 const Decision& decision,
                 const QString& folder,
                 const std::optional<QString>& newName,
                 const Profile& profile)
{
    PlanItem result;
    result.id = item.id;
    result.src = item.url;
    result.destFolder = folder;
    result.category = decision.category;
    result.confidence = decision.confidence;
    result.reason = decision.reason;
    result.newName = newName;
    result.kind = item.kind;
    result.size = item.size;
    result.approved = decision.category != Category::needsYou;
    result.renameApproved = true;
    result.suggestedProject = hint(decision.projectHint, profile);
    result.requestFailed = decision.provenance == Provenance::failed;
    if (decision.category == Category::duplicate)
        result.keptCopy = item.keptCopy;
    result.site = UserRule::siteOf(item.whereFrom);
    result.rule = decision.rule;
    return result;
}

} // namespace

QString destination(const Decision& decision, const ScannedItem& item, const Profile& profile)
{
    return resolve(decision, item, profile).folder;
}

std::optional<QString> hint(const std::optional<QString>& projectHint, const Profile& profile)
{
    if (!projectHint)
        return std::nullopt;
    const QString trimmed = trimBlanks(*projectHint);
    if (Graphemes::count(trimmed) < 3)
        return std::nullopt;
    const QString lower = trimmed.toLower();
    for (const Project& project : profile.projects) {
        if (trimBlanks(lastPiece(project.name)).toLower() == lower || project.name.toLower() == lower)
            return std::nullopt;
    }
    return trimmed;
}

QList<PlanItem> plan(const QList<ScannedItem>& items, const Decisions& decisions, const Profile& profile)
{
    QHash<qint64, const ScannedItem*> byId;
    for (const ScannedItem& item : items)
        byId.insert(item.id, &item);

    QList<PlanItem> result;
    for (auto it = decisions.cbegin(); it != decisions.cend(); ++it) {
        const ScannedItem* item = byId.value(it.key());
        if (!item)
            continue;
        Decision decision = it.value();
        if (decision.category == Category::junk && Kinds::hardProtected().contains(item->kind))
            decision = needsYou(u"Protected file type, never treated as junk"_s);
        if (decision.confidence == Confidence::low && !keptWhenUnsure(decision.category)) {
            decision.category = Category::needsYou;
            decision.reason = u"Best guess: "_s + decision.reason;
        }
        const Destination where = resolve(decision, *item, profile);
        const QString& folder = where.folder;
        if (folder == HomeTree::needsYou())
            decision.category = Category::needsYou;
        if (where.problem) {
            decision.confidence = Confidence::low;
            decision.reason = *where.problem;
        }

        std::optional<QString> newName;
        if (profile.renameFiles && !item->isDir && decision.newName && Naming::isMeaningless(item->name)
            && !neverRenamed(decision.category)) {
            newName = Naming::sanitize(*decision.newName, originalExtension(item->name));
        }

        const QString source = item->url.toLocalFile();
        const QString target = QDir::cleanPath(profile.homeBase + u'/' + folder);
        if (QDir::cleanPath(QFileInfo(source).path()) == target && !newName)
            continue;

        result.append(planned(*item, decision, folder, newName, profile));
    }
    std::sort(result.begin(), result.end(), [](const PlanItem& a, const PlanItem& b) {
        if (a.destFolder != b.destFolder)
            return a.destFolder < b.destFolder;
        const QString aName = a.src.fileName();
        const QString bName = b.src.fileName();
        return aName != bName ? aName < bName : a.id < b.id;
    });
    return result;
}

} // namespace Planner
