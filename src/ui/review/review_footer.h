#pragma once

#include <QWidget>

class Activity;
class Moves;
class PlanModel;
class QLabel;
class QPushButton;

// The reassurance and the two ways to finish: moves only, or moves and renames. Either hands the
// plan to the controller; the window closes once the files moved, and stays open, saying why,
// when the apply was refused.

class ReviewFooter : public QWidget
{
    Q_OBJECT

public:
    ReviewFooter(Moves& moves, Activity& activity, PlanModel& plan, QWidget* parent = nullptr);

    // A control of the window's own, placed before the apply buttons.
    void addTool(QWidget* tool);

Q_SIGNALS:
    // The plan was carried out: the window has done its work.
    void finished();

private:
    void approve(bool includeRenames);
    void moved();
    void updateCount();

    Moves& m_moves;
    Activity& m_activity;
    PlanModel& m_plan;
    QPushButton* m_approve;
    QPushButton* m_organizeOnly;
    QLabel* m_problem;
    class QHBoxLayout* m_row;
    bool m_applying = false;
};
