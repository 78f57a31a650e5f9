#pragma once

#include <QSequentialAnimationGroup>
#include <QWidget>

// A bar whose fill springs from nothing to its share of the row when it appears.
class GrowBar : public QWidget
{
    Q_OBJECT

public:
    GrowBar(double fraction, int delayMs, QWidget* parent = nullptr);

    double fraction() const;
    // The filled share drawn now: 0 before the spring lets go, then swinging in to `fraction`.
    double shownFraction() const;
    bool isOn() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    const double m_fraction;
    double m_growth = 0;
    bool m_on = false;
    QSequentialAnimationGroup m_animation;
};
