#include "destination_choices.h"

#include "controller/preferences.h"
#include "model/home_tree.h"
#include "model/plan_item.h"
#include "scan/scanner.h"

#include <QDir>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isCodeProject(const QString& path)
{
    const QDir dir(path);
    const QStringList& markers = Scanner::projectMarkers();
    return std::any_of(markers.cbegin(), markers.cend(), [&dir](const QString& marker) { return dir.exists(marker); });
}

QStringList subFolders(const QString& path)
{
    QStringList names = QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks, QDir::Name);
    names.removeIf([&path](const QString& name) {
        return name.startsWith(u'.') || Scanner::appFolderNames().contains(name) || isCodeProject(path + u'/' + name);
    });
    return names;
}

// Relative paths: every top folder, and two levels under the folders Brindlow files into.
QStringList listFolders(const QString& homeBase)
{
    if (homeBase.isEmpty())
        return {};
    const QStringList deep {HomeTree::projects(),
                            HomeTree::creator(),
                            HomeTree::personal(),
                            HomeTree::library(),
                            HomeTree::workAdmin(),
                            HomeTree::archive()};
    QStringList found;
    for (const QString& top : subFolders(homeBase)) {
        if (HomeTree::ownFolders().contains(top))
            continue;
        found.append(top);
        if (!deep.contains(top))
            continue;
        for (const QString& sub : subFolders(homeBase + u'/' + top)) {
            found.append(top + u'/' + sub);
            for (const QString& inner : subFolders(homeBase + u'/' + top + u'/' + sub))
                found.append(top + u'/' + sub + u'/' + inner);
        }
    }
    return found;
}

bool blocked(const QString& folder, const QSet<QString>& moved)
{
    for (qsizetype slash = 0; slash >= 0;) {
        slash = folder.indexOf(u'/', slash + 1);
        if (moved.contains(slash < 0 ? folder : folder.left(slash)))
            return true;
    }
    return false;
}

// Adds a choice unless its folder is blocked or its name is taken at this level.
void offer(QList<DestinationChoices::Choice>& list, DestinationChoices::Choice choice, const QSet<QString>& moved)
{
    if (choice.folder && blocked(*choice.folder, moved))
        return;
    for (const DestinationChoices::Choice& other : std::as_const(list)) {
        if (other.label.compare(choice.label, Qt::CaseInsensitive) == 0
            || (other.folder && choice.folder && *other.folder == *choice.folder))
            return;
    }
    list.append(std::move(choice));
}

} // namespace

DestinationChoices::DestinationChoices(Preferences& preferences, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
{
    connect(&m_listing, &QFutureWatcher<QStringList>::finished, this, [this] {
        m_folders = m_listing.result();
        m_waiting = false;
        Q_EMIT changed();
    });
    connect(&preferences, &Preferences::profileChanged, this, &DestinationChoices::changed);
}

bool DestinationChoices::isListing() const
{
    return m_waiting;
}

QString DestinationChoices::homeBase() const
{
    return m_preferences.profile().homeBase;
}

void DestinationChoices::refresh()
{
    if (m_waiting)
        return;
    m_waiting = true;
    m_listing.setFuture(QtConcurrent::run(listFolders, homeBase()));
}

QSet<QString> DestinationChoices::movedByPlan(const QList<PlanItem>& plan) const
{
    const QDir base(homeBase());
    QSet<QString> moved;
    for (const PlanItem& item : plan) {
        if (item.kind != FileKind::folder && item.kind != FileKind::bundle && item.kind != FileKind::project)
            continue;
        const QString relative = base.relativeFilePath(item.src.toLocalFile());
        if (!relative.startsWith(u"..") && !QDir::isAbsolutePath(relative))
            moved.insert(relative);
    }
    return moved;
}

QList<DestinationChoices::Choice> DestinationChoices::choices(const QSet<QString>& moved) const
{
    QList<Choice> list {{tr("Leave where it is"), std::nullopt}, {tr("Needs You folder"), HomeTree::needsYou()}};
    // The known folders first, each with what it holds; the standard ones even before they exist.
    const QList<std::pair<QString, QStringList>> known {
        {HomeTree::projects(), {}},
        {HomeTree::creator(), HomeTree::creatorSubs()},
        {HomeTree::personal(), HomeTree::personalSubs()},
        {HomeTree::library(), HomeTree::librarySubs()},
        {HomeTree::workAdmin(), {}},
        {HomeTree::archive(), {}},
    };
    QHash<QString, QStringList> found; // parent -> children, in listing order
    for (const QString& folder : m_folders)
        found[folder.section(u'/', 0, -2)].append(folder.section(u'/', -1));
    QStringList projects;
    for (const Project& project : m_preferences.profile().projects)
        projects.append(project.folderPath());
    found[HomeTree::projects()] = projects + found.value(HomeTree::projects());
    bool first = true;
    for (const auto& [top, standard] : known) {
        Choice group {top, top, first};
        first = false;
        offer(group.subs, {top, top}, moved);
        for (const QString& sub : standard + found.value(top)) {
            Choice inner {sub.section(u'/', -1), top + u'/' + sub};
            for (const QString& deeper : found.value(top + u'/' + sub))
                offer(inner.subs, {deeper, top + u'/' + sub + u'/' + deeper}, moved);
            if (!inner.subs.isEmpty())
                inner.subs.prepend({inner.label, inner.folder});
            offer(group.subs, inner, moved);
        }
        if (group.subs.size() == 1)
            group.subs.clear();
        offer(list, group, moved);
    }
    first = true;
    for (const QString& top : found.value(QString())) {
        if (std::any_of(known.cbegin(), known.cend(), [&top](const auto& k) { return k.first == top; }))
            continue;
        const qsizetype before = list.size();
        offer(list, {top, top, first}, moved);
        first = first && list.size() == before;
    }
    return list;
}
