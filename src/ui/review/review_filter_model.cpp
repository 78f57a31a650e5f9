#include "review_filter_model.h"

#include "controller/plan_model.h"
#include "controller/plan_review.h"

#include <QDir>

ReviewFilterModel::ReviewFilterModel(PlanModel* source, PlanTab tab, QObject* parent)
    : PlanFilterModel(source, parent)
    , m_plan(source)
{
    setTab(tab);
}

bool ReviewFilterModel::matches(const PlanItem& item, const QString& text)
{
    if (text.isEmpty())
        return true;
    const QString path = item.src.path();
    const int slash = int(path.lastIndexOf(u'/'));
    if (QStringView(path).mid(slash + 1).contains(text, Qt::CaseInsensitive))
        return true;
    // The folder as the person knows it: relative to home, without the home itself.
    static const QString home = QDir::homePath() + u'/';
    QStringView folder = QStringView(path).left(std::max(0, slash));
    if (folder.startsWith(home))
        folder = folder.mid(home.size());
    return folder.contains(text, Qt::CaseInsensitive);
}

void ReviewFilterModel::setNameFilter(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed == m_name)
        return;
    refilterQuietly([this, trimmed] { m_name = trimmed; });
}

QString ReviewFilterModel::nameFilter() const
{
    return m_name;
}

void ReviewFilterModel::switchGroup(const std::optional<QString>& group)
{
    if (group == this->group())
        return;
    refilterQuietly([this, group] { setGroup(group); });
}

void ReviewFilterModel::hold(const QList<qint64>& ids)
{
    for (const qint64 id : ids)
        m_held.insert(id);
}

bool ReviewFilterModel::isHeld(qint64 id) const
{
    return m_held.contains(id);
}

void ReviewFilterModel::releaseHeld()
{
    if (m_held.isEmpty())
        return;
    m_held.clear();
    invalidateFilter();
}

int ReviewFilterModel::rowOfId(qint64 id) const
{
    const int sourceRow = m_plan->review() ? m_plan->review()->rowOf(id) : -1;
    if (sourceRow < 0)
        return -1;
    return mapFromSource(m_plan->index(sourceRow)).row();
}

void ReviewFilterModel::refilterQuietly(const std::function<void()>& change)
{
    beginResetModel();
    {
        const QSignalBlocker quiet(this);
        change();
        invalidateFilter();
    }
    endResetModel();
}

bool ReviewFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    const PlanItem& item = m_plan->item(sourceRow);
    if (!m_held.isEmpty() && m_held.contains(item.id))
        return true;
    if (!PlanFilterModel::filterAcceptsRow(sourceRow, sourceParent))
        return false;
    return matches(item, m_name);
}
