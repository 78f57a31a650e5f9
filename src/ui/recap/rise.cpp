#include "rise.h"

#include "motion.h"
#include "rise_effect.h"

#include <QVBoxLayout>
#include <QVariantAnimation>

Rise::Rise(QWidget* content, int delayMs, int offset, QWidget* parent)
    : QWidget(parent)
    , m_effect(new RiseEffect(offset, this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(content);
    setGraphicsEffect(m_effect);

    m_animation.addAnimation(Motion::hold(delayMs));
    auto* rise = new QVariantAnimation;
    rise->setStartValue(0.0);
    rise->setEndValue(1.0);
    rise->setDuration(kDurationMs);
    rise->setEasingCurve(Motion::easeOut());
    connect(rise, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_progress = value.toDouble();
        m_effect->setProgress(m_progress);
    });
    m_animation.addAnimation(rise);
    connect(rise, &QAbstractAnimation::stateChanged, this, [this](QAbstractAnimation::State state) {
        m_on = m_on || state == QAbstractAnimation::Running;
    });
}

bool Rise::isOn() const
{
    return m_on;
}

double Rise::progress() const
{
    return m_progress;
}

void Rise::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Motion::playWhenShown(m_animation);
}

void Rise::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    Motion::pauseWhenHidden(m_animation);
}
