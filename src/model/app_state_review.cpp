// Review edits, lessons, apply and undo: the part of the controller that acts on the plan.
#include "app_state.h"

#include "planning/mover.h"
#include "planning/planner.h"
#include "platform/clock.h"
#include "store.h"

#include <QDir>
#include <QFutureWatcher>
#include <QLocale>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace {

bool undecidedOrGeneric(const PlanItem& item)
{
    return item.category == u"needs-you" || item.category == u"library";
}

} // namespace

PlanItem* AppState::findItem(qint64 id)
{
    for (PlanItem& item : m_plan) {
        if (item.id == id)
            return &item;
    }
    return nullptr;
}

void AppState::savePlan()
{
    Store::savePlan(m_plan);
    Q_EMIT planChanged();
}

void AppState::toggle(qint64 id)
{
    if (PlanItem* item = findItem(id)) {
        item->approved = !item->approved;
        savePlan();
    }
}

void AppState::setApproved(const QList<qint64>& ids, bool approved)
{
    if (ids.isEmpty())
        return;
    const QSet<qint64> wanted(ids.cbegin(), ids.cend());
    for (PlanItem& item : m_plan) {
        if (wanted.contains(item.id))
            item.approved = approved;
    }
    savePlan();
}

void AppState::toggleRename(qint64 id)
{
    if (PlanItem* item = findItem(id)) {
        item->renameApproved = !item->renameApproved;
        savePlan();
    }
}

void AppState::setDestination(qint64 id, const std::optional<QString>& destFolder)
{
    PlanItem* item = findItem(id);
    if (!item)
        return;
    if (!destFolder) {
        item->approved = false;
    } else {
        Store::addLesson({item->src.fileName(), item->reason, *destFolder});
        item->destFolder = *destFolder;
        item->category = u"user"_s;
        item->approved = true;
    }
    savePlan();
}

int AppState::addProject(const QString& typed)
{
    const QString name = typed.trimmed();
    if (name.isEmpty())
        return 0;
    const QString key = name.toLower();
    const bool known = std::any_of(m_profile.projects.cbegin(), m_profile.projects.cend(), [&key](const Project& p) {
        return p.displayName().toLower() == key;
    });
    if (!known) {
        Profile updated = m_profile;
        updated.projects.append(Project {QUuid::createUuid(), name, QString()});
        setProfile(updated);
    }
    const QString folder = QString(name).replace(u':', u'-').trimmed();
    int moved = 0;
    for (PlanItem& item : m_plan) {
        if (!undecidedOrGeneric(item))
            continue;
        const bool belongs = item.suggestedProject.value_or(QString()).toLower() == key
            || item.src.fileName().toLower().contains(key) || item.reason.toLower().contains(key);
        if (!belongs)
            continue;
        item.destFolder = u"Projects/"_s + folder + u'/' + Planner::kindFolder(item.kind);
        item.category = u"project:"_s + name;
        item.approved = true;
        item.suggestedProject.reset();
        savePlan();
        ++moved;
    }
    Store::addLesson({u"(project)"_s, u"user added project"_s, u"Projects/"_s + name});
    return moved;
}

QList<GroupCount> AppState::projectSuggestions() const
{
    QHash<QString, int> counts;
    for (const PlanItem& item : m_plan) {
        if (undecidedOrGeneric(item) && item.suggestedProject)
            ++counts[*item.suggestedProject];
    }
    QSet<QString> known;
    for (const Project& project : m_profile.projects)
        known.insert(project.displayName().toLower());
    QList<GroupCount> suggestions;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        if (it.value() >= 2 && !known.contains(it.key().toLower()))
            suggestions.append({it.key(), it.value()});
    }
    std::sort(suggestions.begin(), suggestions.end(), [](const GroupCount& a, const GroupCount& b) {
        return a.count != b.count ? a.count > b.count : a.name < b.name;
    });
    return suggestions.first(std::min<qsizetype>(3, suggestions.size()));
}

void AppState::apply(bool includeRenames)
{
    if (m_phase != Phase::review)
        return;
    if (!acquireLock())
        return;
    setPhase(Phase::applying);
    setStatus(u"Moving files"_s);
    const QList<PlanItem> items = m_plan;
    const QString homeBase = m_profile.homeBase;

    QHash<QString, int> groups;
    int duplicates = 0;
    const PlanItem* anyRename = nullptr;
    const PlanItem* imageRename = nullptr;
    for (const PlanItem& item : items) {
        if (!item.approved)
            continue;
        if (item.category != u"junk" && item.category != u"duplicate" && item.category != u"needs-you")
            ++groups[item.group()];
        duplicates += item.category == u"duplicate";
        if (includeRenames && item.renameApproved && item.newName) {
            if (!anyRename)
                anyRename = &item;
            if (!imageRename && item.kind == FileKind::image)
                imageRename = &item;
        }
    }
    RecapData recap;
    for (auto it = groups.cbegin(); it != groups.cend(); ++it)
        recap.groups.append({it.key(), it.value()});
    std::sort(recap.groups.begin(), recap.groups.end(), [](const GroupCount& a, const GroupCount& b) {
        return a.count != b.count ? a.count > b.count : a.name < b.name;
    });
    if (const PlanItem* example = imageRename ? imageRename : anyRename) {
        recap.renameFrom = example->src.fileName();
        recap.renameTo = example->newName;
    }
    recap.duplicates = duplicates;

    const Clock* clock = m_clock;
    auto* watcher = new QFutureWatcher<ApplyResult>(this);
    connect(watcher, &QFutureWatcher<ApplyResult>::finished, this, [this, watcher, recap]() mutable {
        const ApplyResult result = watcher->result();
        watcher->deleteLater();
        m_lock.release();
        m_lastResult = result;
        Q_EMIT lastResultChanged();
        recap.result = result;
        m_recap = recap;
        Q_EMIT recapChanged();
        if (result.moved > 0 && openWindow)
            openWindow(u"recap"_s);
        Profile updated = m_profile;
        updated.lastRun = now();
        setProfile(updated);
        setPlan({});
        Store::savePlan({});
        setPhase(Phase::done);
        refreshNewFiles();
        Q_EMIT moveFinished();
    });
    QStringList roots;
    for (const QString& folder : m_profile.scanFolders)
        roots.append(QDir(QDir::homePath()).absoluteFilePath(folder));
    const QFuture<ApplyResult> work = QtConcurrent::run([items, homeBase, roots, includeRenames, clock] {
        return Mover::apply(items, {homeBase, roots, includeRenames, {}, [clock] { return clock->now(); }});
    });
    m_pipeline = QFuture<void>(work);
    watcher->setFuture(work);
}

void AppState::undoLast()
{
    if (isBusy())
        return;
    if (!acquireLock())
        return;
    setPhase(Phase::applying);
    setStatus(u"Putting files back"_s);
    auto* watcher = new QFutureWatcher<int>(this);
    connect(watcher, &QFutureWatcher<int>::finished, this, [this, watcher] {
        const int restored = watcher->result();
        watcher->deleteLater();
        m_lock.release();
        setPhase(Phase::idle);
        setMessage(restored < 1
                       ? u"Nothing to undo."_s
                       : u"Restored "_s + QLocale::system().toString(restored) + u" files to where they were."_s);
        refreshNewFiles();
        Q_EMIT moveFinished();
    });
    const QFuture<int> work = QtConcurrent::run([] { return Mover::undoLatest().restored; });
    m_pipeline = QFuture<void>(work);
    watcher->setFuture(work);
}
