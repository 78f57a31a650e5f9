#pragma once

#include <QWidget>

// The row of small capsules above the slides, one per slide; the current one is drawn long.
// Between two slides the long capsule slides over, so `position` may lie between whole numbers.
class CapsuleRow : public QWidget
{
    Q_OBJECT

public:
    explicit CapsuleRow(QWidget* parent = nullptr);

    void setCount(int count);
    int count() const;
    void setPosition(double position);
    // 0 on a dark slide, 1 on the light one: the capsules stay visible on both.
    void setLight(double light);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void describe();

    int m_count = 0;
    double m_position = 0;
    double m_light = 0;
};
