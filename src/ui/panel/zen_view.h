#pragma once

#include <QList>
#include <QVariantAnimation>
#include <QWidget>

class QLabel;
class QGraphicsOpacityEffect;

// The breathing field of dots shown while files are being looked at or moved: the dots swell
// and settle once per breath, the lit share follows the progress, and every decision sends a
// ripple from the edge of the lit dots. Time comes from a looping animation, so it runs only
// while the view is on screen and tests can step it.
class ZenView : public QWidget
{
    Q_OBJECT

public:
    explicit ZenView(QWidget* parent = nullptr, int dotCount = 48, int columns = 16, double breathCycle = 8.0);

    void setFraction(double fraction);
    double fraction() const;
    void setPulse(int pulse);
    // Seconds since the view first appeared.
    double time() const;
    // Between 0 and 1, once up and down per breath.
    double breathLevel() const;
    QString breathText() const;
    bool isRunning() const;
    // How many ripples are still spreading.
    int rippleCount() const;

    static constexpr int kCanvasHeight = 200;
    static constexpr double kRippleSeconds = 1.6;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void tick();

    const int m_dotCount;
    const int m_columns;
    const double m_breathCycle;
    double m_fraction = 0;
    int m_pulse = 0;
    QList<double> m_ripples; // start times
    QVariantAnimation m_clock;
    QLabel* m_label;
    QGraphicsOpacityEffect* m_labelOpacity;
    QVariantAnimation m_labelFade;
};
