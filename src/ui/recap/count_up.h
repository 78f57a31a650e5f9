#pragma once

#include <QLabel>
#include <QSequentialAnimationGroup>

class QVariantAnimation;

// A number that counts up from 0 to its target when it appears, always showing a whole number
// in the person's own way of writing numbers.
class CountUp : public QLabel
{
    Q_OBJECT

public:
    // The figure shrinks below `pixelSize` when the target would not fit in `maxWidth`.
    CountUp(qint64 target, int pixelSize, const QColor& colour, int maxWidth, QWidget* parent = nullptr);

    qint64 target() const;
    double value() const;
    // The value as shown: rounded to a whole number, with the locale's grouping.
    static QString countText(double value);

    static constexpr int kDelayMs = 250;
    static constexpr int kDurationMs = 1600;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void setValue(double value);

    const qint64 m_target;
    double m_value = 0;
    QSequentialAnimationGroup m_animation;
};
