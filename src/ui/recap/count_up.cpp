#include "count_up.h"

#include "common/numbers.h"
#include "motion.h"

#include <QVariantAnimation>

#include <cmath>

CountUp::CountUp(qint64 target, int pixelSize, const QColor& colour, int maxWidth, QWidget* parent)
    : QLabel(parent)
    , m_target(target)
{
    QFont figure = font();
    figure.setPixelSize(pixelSize);
    figure.setWeight(QFont::Bold);
    const int wanted = QFontMetrics(figure).horizontalAdvance(countText(double(target)));
    if (wanted > maxWidth)
        figure.setPixelSize(std::max(12, pixelSize * maxWidth / wanted));
    setFont(figure);
    // As wide as the final figure from the first frame, so the growing number does not make its
    // neighbours shift.
    setMinimumWidth(QFontMetrics(figure).horizontalAdvance(countText(double(target))));
    setAlignment(Qt::AlignCenter);
    QPalette palette = this->palette();
    palette.setColor(QPalette::WindowText, colour);
    setPalette(palette);
    setText(countText(0));
    // A screen reader has no use for the count on its way up.
    setAccessibleName(countText(double(target)));

    m_animation.addAnimation(Motion::hold(kDelayMs));
    auto* count = new QVariantAnimation;
    count->setStartValue(0.0);
    count->setEndValue(double(target));
    count->setDuration(kDurationMs);
    count->setEasingCurve(Motion::easeOut());
    connect(
        count, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) { setValue(value.toDouble()); });
    m_animation.addAnimation(count);
    // An easing curve may stop a hair short of its end; the last frame is the target itself.
    connect(&m_animation, &QAbstractAnimation::finished, this, [this] { setValue(double(m_target)); });
}

qint64 CountUp::target() const
{
    return m_target;
}

double CountUp::value() const
{
    return m_value;
}

QString CountUp::countText(double value)
{
    return Numbers::count(qint64(std::llround(value)));
}

void CountUp::setValue(double value)
{
    m_value = value;
    setText(countText(value));
}

void CountUp::showEvent(QShowEvent* event)
{
    QLabel::showEvent(event);
    Motion::playWhenShown(m_animation);
}

void CountUp::hideEvent(QHideEvent* event)
{
    QLabel::hideEvent(event);
    Motion::pauseWhenHidden(m_animation);
}
