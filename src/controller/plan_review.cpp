#include "plan_review.h"

#include "activity.h"
#include "model/home_tree.h"
#include "model/store.h"
#include "planning/naming.h"
#include "planning/planner.h"
#include "planning/user_rules.h"
#include "platform/clock.h"
#include "platform/file_identity.h"
#include "preferences.h"
#include "store_writer.h"

#include <QDir>
#include <QFileInfo>
#include <QUuid>

using namespace Qt::Literals::StringLiterals;

namespace {

bool exists(const QUrl& url)
{
    return FileIdentity::ofEntry(url.toLocalFile()).exists();
}

QList<PlanItem> existingOnly(const QList<PlanItem>& items)
{
    QList<PlanItem> kept;
    kept.reserve(items.size());
    for (const PlanItem& item : items) {
        if (exists(item.src))
            kept.append(item);
    }
    return kept;
}

bool undecidedOrGeneric(const PlanItem& item)
{
    return item.category.isUndecided() || item.category == Category::library;
}

} // namespace

PlanReview::PlanReview(Activity& activity, Preferences& preferences, StoreWriter& writer, const Clock& clock)
    : m_activity(activity)
    , m_preferences(preferences)
    , m_writer(writer)
    , m_clock(clock)
{
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(kSaveDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &PlanReview::submitEdits);
    connect(&m_writer, &StoreWriter::reloaded, this, &PlanReview::adoptOutsidePlan);
    connect(&m_writer, &StoreWriter::failureChanged, this, &PlanReview::saveProblemChanged);
    connect(&m_preferences, &Preferences::profileChanged, this, [this] { m_suggestions.reset(); });
}

PlanReview::~PlanReview()
{
    flushEdits();
}

QString PlanReview::planNotSavedText()
{
    return tr("The plan could not be saved: the disk may be full. Nothing was moved.");
}

void PlanReview::load()
{
    loadPendingPlan();
    importPlan();
    // Another Brindlow (the command line, say) may edit the plan while this one runs.
    m_watcher.addPath(Store::dir());
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] {
        if (!m_activity.isBusy())
            m_writer.checkForOutsideChange();
    });
}

void PlanReview::loadPendingPlan()
{
    const StoreWriter::Stamp stamp = StoreWriter::planFileStamp();
    const QList<PlanItem> stored = Store::loadPlan();
    const QList<PlanItem> pending = movableOnly(existingOnly(stored));
    show(pending);
    // A plan whose every item the model could not be asked about says why, as it did when made.
    const bool allFailed
        = std::all_of(pending.cbegin(), pending.cend(), [](const PlanItem& item) { return item.requestFailed; });
    if (!pending.isEmpty() && allFailed)
        m_activity.setMessage(pending.first().reason);
    if (pending.size() == stored.size())
        m_writer.adopt(stored, stamp);
    else
        m_writer.replace(pending, m_generation);
    if (!pending.isEmpty())
        m_activity.setPhase(Phase::review);
}

void PlanReview::importPlan()
{
    const std::optional<QList<PlanItem>> imported = Store::takeImport(m_clock.now().toSecsSinceEpoch());
    if (!imported)
        return;
    const QList<PlanItem> movable = movableOnly(existingOnly(*imported));
    if (movable.isEmpty())
        return;
    replace(movable);
    m_activity.setPhase(Phase::review);
    m_clock.callAfter(std::chrono::milliseconds(1500), this, [this] { Q_EMIT windowRequested(u"review"_s); });
}

QList<PlanItem> PlanReview::movableOnly(const QList<PlanItem>& items) const
{
    QSet<QString> folders;
    for (const QString& folder : m_preferences.profile().scanFolders)
        folders.insert(QDir::cleanPath(QDir::home().absoluteFilePath(folder)));
    QList<PlanItem> kept;
    kept.reserve(items.size());
    for (const PlanItem& item : items) {
        const QString path = QDir::cleanPath(item.src.toLocalFile());
        if (folders.contains(path.left(path.lastIndexOf(u'/'))))
            kept.append(item);
    }
    return kept;
}

const QList<PlanItem>& PlanReview::plan() const
{
    return m_plan;
}

bool PlanReview::isEdited() const
{
    return std::any_of(m_plan.cbegin(), m_plan.cend(), [](const PlanItem& item) { return item.edited; });
}

int PlanReview::rowOf(qint64 id) const
{
    return m_rows.value(id, -1);
}

void PlanReview::show(const QList<PlanItem>& plan)
{
    Q_EMIT planAboutToBeReset();
    m_plan = plan;
    m_suggestions.reset();
    m_rows.clear();
    m_rows.reserve(m_plan.size());
    for (int row = 0; row < m_plan.size(); ++row)
        m_rows.insert(m_plan[row].id, row);
    Q_EMIT planReset();
    Q_EMIT planChanged();
}

void PlanReview::replace(const QList<PlanItem>& plan)
{
    // Edits not yet handed over belong to the plan being replaced.
    m_saveTimer.stop();
    m_unsubmitted.clear();
    m_editedAt.clear();
    show(plan);
    m_writer.replace(m_plan, ++m_generation);
}

int PlanReview::followRules(const RuleBook& book, const QString& home)
{
    int changed = 0;
    QList<PlanItem> next = UserRules::applyToPlan(m_plan, book, home, &changed);
    if (changed == 0)
        return 0;
    if (next.size() != m_plan.size()) {
        // Items left the plan: the file is written whole, the edits not yet handed over with it.
        replace(next);
        if (m_plan.isEmpty() && m_activity.phase() == Phase::review)
            m_activity.setPhase(Phase::idle);
        return changed;
    }
    QList<int> rows;
    ++m_generation;
    for (int row = 0; row < m_plan.size(); ++row) {
        if (next[row] == m_plan[row])
            continue;
        m_plan[row] = std::move(next[row]);
        m_editedAt.insert(m_plan[row].id, m_generation);
        m_unsubmitted.insert(m_plan[row].id);
        rows.append(row);
    }
    m_suggestions.reset();
    if (!m_saveTimer.isActive())
        m_saveTimer.start();
    Q_EMIT planItemsChanged(rows);
    Q_EMIT planChanged();
    return changed;
}

void PlanReview::discard()
{
    if (m_activity.isBusy())
        return;
    // Another Brindlow may be moving the files of this very plan right now.
    if (!m_activity.acquireLock())
        return;
    m_activity.releaseLock();
    replace({});
    m_activity.setPhase(Phase::idle);
}

void PlanReview::edited(const QList<int>& rows)
{
    if (rows.isEmpty())
        return;
    ++m_generation;
    for (const int row : rows) {
        m_plan[row].edited = true;
        const qint64 id = m_plan[row].id;
        m_editedAt.insert(id, m_generation);
        m_unsubmitted.insert(id);
    }
    if (!m_saveTimer.isActive())
        m_saveTimer.start();
    Q_EMIT planItemsChanged(rows);
    Q_EMIT planChanged();
}

void PlanReview::submitEdits()
{
    m_saveTimer.stop();
    if (!m_pendingLessons.isEmpty())
        m_writer.addLessons(std::exchange(m_pendingLessons, {}));
    if (m_unsubmitted.isEmpty())
        return;
    QList<PlanItem> changed;
    changed.reserve(m_unsubmitted.size());
    for (const qint64 id : std::exchange(m_unsubmitted, {}))
        changed.append(m_plan[rowOf(id)]);
    m_writer.update(changed, m_generation);
}

bool PlanReview::flushEdits()
{
    submitEdits();
    m_writer.waitUntilWritten();
    return !m_writer.failure();
}

void PlanReview::saveNow()
{
    submitEdits();
    m_writer.retry();
}

std::optional<QString> PlanReview::saveProblem() const
{
    const Store::Failure failure = m_writer.failure();
    return failure ? std::optional(StoreWriter::failureText(*failure)) : std::nullopt;
}

int PlanReview::planWrites() const
{
    return m_writer.planWrites();
}

void PlanReview::adoptOutsidePlan(const QList<PlanItem>& plan, quint64 generation)
{
    // A refresh, an apply or an undo in this process owns the plan until it ends.
    if (m_activity.isBusy())
        return;
    // Edits made here after the writer's snapshot are newer than anything in the file.
    QList<PlanItem> merged = plan;
    for (PlanItem& item : merged) {
        if (m_editedAt.value(item.id, 0) > generation) {
            const int row = rowOf(item.id);
            if (row >= 0)
                item = m_plan[row];
        }
    }
    m_editedAt.removeIf([generation](const QHash<qint64, quint64>::iterator it) { return it.value() <= generation; });
    if (merged != m_plan)
        show(merged);
    if (m_plan.isEmpty() && m_activity.phase() == Phase::review)
        m_activity.setPhase(Phase::idle);
    else if (!m_plan.isEmpty() && m_activity.phase() != Phase::review)
        m_activity.setPhase(Phase::review);
}

void PlanReview::learn(const Lesson& lesson)
{
    m_pendingLessons.append(lesson);
    if (!m_saveTimer.isActive())
        m_saveTimer.start();
}

void PlanReview::toggle(qint64 id)
{
    const int row = rowOf(id);
    if (row < 0)
        return;
    m_plan[row].approved = !m_plan[row].approved;
    edited({row});
}

void PlanReview::setApproved(const QList<qint64>& ids, bool approved)
{
    QList<int> rows;
    for (const qint64 id : ids) {
        const int row = rowOf(id);
        if (row >= 0 && m_plan[row].approved != approved) {
            m_plan[row].approved = approved;
            rows.append(row);
        }
    }
    edited(rows);
}

void PlanReview::toggleRename(qint64 id)
{
    const int row = rowOf(id);
    if (row < 0)
        return;
    m_plan[row].renameApproved = !m_plan[row].renameApproved;
    edited({row});
}

void PlanReview::setDestination(qint64 id, const std::optional<QString>& destFolder)
{
    setDestination(QList<qint64> {id}, destFolder);
}

void PlanReview::setDestination(const QList<qint64>& ids, const std::optional<QString>& chosen)
{
    // A folder that could climb out of the home base is no destination.
    const std::optional<QString> destFolder = chosen ? Planner::cleanFolderPath(*chosen) : std::nullopt;
    if (chosen && !destFolder)
        return;
    QList<int> rows;
    for (const qint64 id : ids) {
        const int row = rowOf(id);
        if (row < 0)
            continue;
        PlanItem& item = m_plan[row];
        if (!destFolder) {
            item.approved = false;
        } else {
            m_suggestions.reset();
            learn({item.src.fileName(), item.reason, *destFolder});
            item.destFolder = *destFolder;
            item.category = Category::user;
            item.approved = true;
        }
        rows.append(row);
    }
    edited(rows);
}

int PlanReview::addProject(const QString& typed)
{
    const QString name = typed.trimmed();
    if (name.isEmpty())
        return 0;
    if (!Planner::projectFolder(name, FileKind::other))
        return 0;
    const QString key = name.toLower();
    const QList<Project>& projects = m_preferences.profile().projects;
    const bool known = std::any_of(
        projects.cbegin(), projects.cend(), [&key](const Project& p) { return p.displayName().toLower() == key; });
    if (!known)
        m_preferences.addProjects({Project {QUuid::createUuid(), name, QString()}});
    m_suggestions.reset();
    QList<int> rows;
    for (int row = 0; row < m_plan.size(); ++row) {
        PlanItem& item = m_plan[row];
        if (!undecidedOrGeneric(item))
            continue;
        const bool belongs = item.suggestedProject.value_or(QString()).compare(name, Qt::CaseInsensitive) == 0
            || item.reason.contains(name, Qt::CaseInsensitive)
            || item.src.fileName().contains(name, Qt::CaseInsensitive);
        if (!belongs)
            continue;
        item.destFolder = *Planner::projectFolder(name, item.kind);
        item.category = Category::forProject(name);
        item.approved = true;
        item.suggestedProject.reset();
        rows.append(row);
    }
    edited(rows);
    learn({u"(project)"_s, u"user added project"_s, HomeTree::projects() + u'/' + name});
    return int(rows.size());
}

QList<GroupCount> PlanReview::projectSuggestions() const
{
    if (m_suggestions)
        return *m_suggestions;
    QHash<QString, int> counts;
    for (const PlanItem& item : m_plan) {
        if (undecidedOrGeneric(item) && item.suggestedProject)
            ++counts[*item.suggestedProject];
    }
    QSet<QString> known;
    for (const Project& project : m_preferences.profile().projects)
        known.insert(project.displayName().toLower());
    QList<GroupCount> suggestions;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        if (it.value() >= 2 && !known.contains(it.key().toLower()))
            suggestions.append({it.key(), it.value()});
    }
    std::sort(suggestions.begin(), suggestions.end(), [](const GroupCount& a, const GroupCount& b) {
        return a.count != b.count ? a.count > b.count : a.name < b.name;
    });
    m_suggestions = suggestions.first(std::min<qsizetype>(3, suggestions.size()));
    return *m_suggestions;
}

std::optional<QString> PlanReview::setNewName(qint64 id, const QString& stem)
{
    const int row = rowOf(id);
    if (row < 0)
        return std::nullopt;
    PlanItem& item = m_plan[row];
    if (item.kind == FileKind::folder || item.kind == FileKind::bundle || item.kind == FileKind::project)
        return std::nullopt;
    const std::optional<QString> name = Naming::sanitize(stem, QFileInfo(item.src.fileName()).suffix());
    if (!name)
        return std::nullopt;
    if (*name == item.src.fileName()) {
        // Its own name again: nothing to rename.
        item.newName.reset();
        item.renameApproved = false;
    } else {
        learn({item.src.fileName(), item.reason, *name});
        item.newName = name;
        item.renameApproved = true;
    }
    edited({row});
    return name;
}

bool PlanReview::keepInstead(qint64 id)
{
    const int row = rowOf(id);
    if (row < 0 || m_plan[row].category != Category::duplicate || !m_plan[row].keptCopy)
        return false;
    const QString kept = QDir::cleanPath(*m_plan[row].keptCopy);
    int other = -1;
    for (int i = 0; i < m_plan.size() && other < 0; ++i) {
        if (QDir::cleanPath(m_plan[i].src.toLocalFile()) == kept)
            other = i;
    }
    PlanItem setAside;
    if (other >= 0) {
        setAside = m_plan[other];
    } else {
        setAside.src = QUrl::fromLocalFile(kept);
        setAside.kind = m_plan[row].kind;
        setAside.size = m_plan[row].size;
        setAside.confidence = m_plan[row].confidence;
        setAside.id = 1 + std::max_element(m_plan.cbegin(), m_plan.cend(), [](const PlanItem& a, const PlanItem& b) {
                              return a.id < b.id;
                          })->id;
        // Only what lies directly in a tidied folder may be planned at all.
        if (movableOnly({setAside}).isEmpty())
            return false;
    }
    setAside.category = Category::duplicate;
    setAside.destFolder = m_plan[row].destFolder;
    setAside.keptCopy = m_plan[row].src.toLocalFile();
    setAside.newName.reset();
    setAside.renameApproved = false;
    setAside.reason = m_plan[row].reason;
    setAside.approved = true;
    setAside.edited = true;
    m_plan[row].approved = false;
    if (other >= 0) {
        m_plan[other] = setAside;
        edited({row, other});
        return true;
    }
    m_plan[row].edited = true;
    QList<PlanItem> grown = m_plan;
    grown.append(setAside);
    replace(grown);
    return true;
}

void PlanReview::putBack(const QList<PlanItem>& before)
{
    QList<int> rows;
    for (const PlanItem& was : before) {
        const int row = rowOf(was.id);
        if (row < 0)
            continue;
        PlanItem& item = m_plan[row];
        item.destFolder = was.destFolder;
        item.category = was.category;
        item.approved = was.approved;
        item.suggestedProject = was.suggestedProject;
        rows.append(row);
    }
    m_suggestions.reset();
    edited(rows);
}
