#pragma once

#include <QWidget>

// Where the person is in the set-up: one numbered dot per step, a check mark in each finished
// one, the current one filled.
class StepIndicator : public QWidget
{
    Q_OBJECT

public:
    explicit StepIndicator(int steps, QWidget* parent = nullptr);

    void setCurrent(int step);
    int current() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_steps;
    int m_current = 0;
};
