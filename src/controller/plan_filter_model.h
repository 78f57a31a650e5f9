#pragma once

#include "model/plan_tab.h"

#include <QSortFilterProxyModel>

#include <optional>

class PlanModel;

// One tab of the review, and within it one destination group (organize) or one junk group.
class PlanFilterModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit PlanFilterModel(PlanModel* source, QObject* parent = nullptr);

    PlanTab tab() const;
    void setTab(PlanTab tab);
    std::optional<QString> group() const;
    // No group means every item of the tab.
    void setGroup(const std::optional<QString>& group);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    PlanModel* m_plan;
    PlanTab m_tab = PlanTab::organize;
    std::optional<QString> m_group;
};
