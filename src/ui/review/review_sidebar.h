#pragma once

#include "model/recap_data.h"

#include <QWidget>

#include <optional>

class PlanModel;
class QTreeWidget;

// The destinations of the organize tab: "Everything", then each group with its count, largest
// first. Choosing a row narrows the grid to it.
class ReviewSidebar : public QWidget
{
    Q_OBJECT

public:
    explicit ReviewSidebar(PlanModel& plan, QWidget* parent = nullptr);

    std::optional<QString> selected() const;
    void select(const std::optional<QString>& group);
    QTreeWidget* rows() const;

Q_SIGNALS:
    void groupChosen(const std::optional<QString>& group);

private:
    void rebuild();

    PlanModel& m_plan;
    QTreeWidget* m_rows;
    QList<GroupCount> m_shown;
    int m_everything = -1;
    std::optional<QString> m_selected;
};
