#pragma once

#include <QWidget>

class AppState;
class PlanModel;
class QPushButton;

// The reassurance and the two ways to finish: moves only, or moves and renames. Either hands the
// plan to the controller and asks the window to close.
class ReviewFooter : public QWidget
{
    Q_OBJECT

public:
    ReviewFooter(AppState& state, PlanModel& plan, QWidget* parent = nullptr);

Q_SIGNALS:
    void finished();

private:
    void updateCount();

    PlanModel& m_plan;
    QPushButton* m_approve;
};
