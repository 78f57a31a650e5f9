// Review edits and lessons: the part of the controller that changes the plan under review.
#include "app_state.h"

#include "model/plan_tab.h"
#include "planning/planner.h"
#include "store_writer.h"

#include <QUuid>

using namespace Qt::Literals::StringLiterals;

namespace {

bool undecidedOrGeneric(const PlanItem& item)
{
    return PlanTabs::isUndecided(item) || item.category == u"library";
}

} // namespace

void AppState::edited(const QList<int>& rows)
{
    if (rows.isEmpty())
        return;
    ++m_generation;
    for (const int row : rows) {
        const qint64 id = m_plan[row].id;
        m_editedAt.insert(id, m_generation);
        m_unsubmitted.insert(id);
    }
    if (!m_saveTimer.isActive())
        m_saveTimer.start();
    Q_EMIT planItemsChanged(rows);
    Q_EMIT planChanged();
}

void AppState::submitEdits()
{
    m_saveTimer.stop();
    if (!m_pendingLessons.isEmpty())
        m_writer->addLessons(std::exchange(m_pendingLessons, {}));
    if (m_unsubmitted.isEmpty())
        return;
    QList<PlanItem> changed;
    changed.reserve(m_unsubmitted.size());
    for (const qint64 id : std::exchange(m_unsubmitted, {}))
        changed.append(m_plan[rowOf(id)]);
    m_writer->update(changed, m_generation);
    m_submitted = m_generation;
}

bool AppState::flushEdits()
{
    submitEdits();
    m_writer->waitUntilWritten();
    return m_writer->lastPlanWriteLanded();
}

int AppState::planWrites() const
{
    return m_writer->planWrites();
}

void AppState::adoptOutsidePlan(const QList<PlanItem>& plan, quint64 generation)
{
    // A refresh, an apply or an undo in this process owns the plan until it ends.
    if (isBusy())
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
        setPlanInMemory(merged);
    if (m_plan.isEmpty() && m_phase == Phase::review)
        setPhase(Phase::idle);
    else if (!m_plan.isEmpty() && m_phase != Phase::review)
        setPhase(Phase::review);
}

void AppState::learn(const Lesson& lesson)
{
    m_pendingLessons.append(lesson);
    if (!m_saveTimer.isActive())
        m_saveTimer.start();
}

void AppState::toggle(qint64 id)
{
    const int row = rowOf(id);
    if (row < 0)
        return;
    m_plan[row].approved = !m_plan[row].approved;
    edited({row});
}

void AppState::setApproved(const QList<qint64>& ids, bool approved)
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

void AppState::toggleRename(qint64 id)
{
    const int row = rowOf(id);
    if (row < 0)
        return;
    m_plan[row].renameApproved = !m_plan[row].renameApproved;
    edited({row});
}

void AppState::setDestination(qint64 id, const std::optional<QString>& destFolder)
{
    setDestination(QList<qint64> {id}, destFolder);
}

void AppState::setDestination(const QList<qint64>& ids, const std::optional<QString>& chosen)
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
            item.category = u"user"_s;
            item.approved = true;
        }
        rows.append(row);
    }
    edited(rows);
}

int AppState::addProject(const QString& typed)
{
    const QString name = typed.trimmed();
    if (name.isEmpty())
        return 0;
    const std::optional<QString> folder = Planner::cleanFolderPath(QString(name).replace(u':', u'-').trimmed());
    if (!folder)
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
        item.destFolder = u"Projects/"_s + *folder + u'/' + Planner::kindFolder(item.kind);
        item.category = u"project:"_s + name;
        item.approved = true;
        item.suggestedProject.reset();
        rows.append(row);
    }
    edited(rows);
    learn({u"(project)"_s, u"user added project"_s, u"Projects/"_s + name});
    return int(rows.size());
}

QList<GroupCount> AppState::projectSuggestions() const
{
    if (m_suggestions)
        return *m_suggestions;
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
    m_suggestions = suggestions.first(std::min<qsizetype>(3, suggestions.size()));
    return *m_suggestions;
}
