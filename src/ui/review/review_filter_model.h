#pragma once

#include "controller/plan_filter_model.h"

// One tab (and group) of the review, narrowed further by the text of the filter field.
class ReviewFilterModel : public PlanFilterModel
{
    Q_OBJECT

public:
    ReviewFilterModel(PlanModel* source, PlanTab tab, QObject* parent = nullptr);

    void setNameFilter(const QString& text);
    // Switches group with one layout change: removing thousands of scattered rows one range at a
    // time would make the grid relayout for each of them.
    void switchGroup(const std::optional<QString>& group);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    void refilterQuietly(const std::function<void()>& change);

    PlanModel* m_plan;
    QString m_name;
};
