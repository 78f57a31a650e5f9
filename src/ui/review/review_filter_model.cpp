#include "review_filter_model.h"

#include "controller/plan_model.h"

ReviewFilterModel::ReviewFilterModel(PlanModel* source, PlanTab tab, QObject* parent)
    : PlanFilterModel(source, parent)
    , m_plan(source)
{
    setTab(tab);
}

void ReviewFilterModel::setNameFilter(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed == m_name)
        return;
    refilterQuietly([this, trimmed] { m_name = trimmed; });
}

void ReviewFilterModel::switchGroup(const std::optional<QString>& group)
{
    if (group == this->group())
        return;
    refilterQuietly([this, group] { setGroup(group); });
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
    if (!PlanFilterModel::filterAcceptsRow(sourceRow, sourceParent))
        return false;
    return m_name.isEmpty() || m_plan->item(sourceRow).src.fileName().contains(m_name, Qt::CaseInsensitive);
}
