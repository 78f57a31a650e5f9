#include "plan_filter_model.h"

#include "plan_model.h"

PlanFilterModel::PlanFilterModel(PlanModel* source, QObject* parent)
    : QSortFilterProxyModel(parent)
    , m_plan(source)
{
    setSourceModel(source);
    // Rows move between tabs when an edit changes their category (a needs item sent to a folder).
    setDynamicSortFilter(true);
}

PlanTab PlanFilterModel::tab() const
{
    return m_tab;
}

void PlanFilterModel::setTab(PlanTab tab)
{
    if (m_tab == tab)
        return;
    m_tab = tab;
    m_group.reset();
    invalidateFilter();
}

std::optional<QString> PlanFilterModel::group() const
{
    return m_group;
}

void PlanFilterModel::setGroup(const std::optional<QString>& group)
{
    if (m_group == group)
        return;
    m_group = group;
    invalidateFilter();
}

bool PlanFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex&) const
{
    const PlanItem& item = m_plan->item(sourceRow);
    if (!PlanTabs::contains(m_tab, item))
        return false;
    if (!m_group)
        return true;
    if (m_tab == PlanTab::organize)
        return item.group() == *m_group;
    if (m_tab == PlanTab::junk)
        return PlanTabs::junkGroup(item) == *m_group;
    return true;
}
