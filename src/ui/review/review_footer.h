#pragma once

#include <QWidget>

class Moves;
class PlanModel;
class QPushButton;

// The reassurance and the two ways to finish: moves only, or moves and renames. Either hands the
// plan to the controller and asks the window to close.
class ReviewFooter : public QWidget
{
    Q_OBJECT

public:
    ReviewFooter(Moves& moves, PlanModel& plan, QWidget* parent = nullptr);

Q_SIGNALS:
    void finished();

private:
    void updateCount();

    PlanModel& m_plan;
    QPushButton* m_approve;
};
