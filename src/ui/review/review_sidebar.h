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
    // Counts only the items the filter text matches.
    void setNameFilter(const QString& text);
    // The groups narrow the organize tab only: elsewhere no row shows as chosen.
    void setActive(bool active);

Q_SIGNALS:
    void groupChosen(const std::optional<QString>& group);
    // The chosen group is gone (its last file was sent elsewhere): everything is shown again.
    void groupDropped();

private:
    void rebuild();
    QList<GroupCount> filteredGroups(int& everything) const;

    PlanModel& m_plan;
    QTreeWidget* m_rows;
    QList<GroupCount> m_shown;
    int m_everything = -1;
    std::optional<QString> m_selected;
    QString m_filter;
    bool m_active = true;
};
