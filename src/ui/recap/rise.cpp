#include "rise.h"

#include "motion.h"

#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QVBoxLayout>
#include <QVariantAnimation>

Rise::Rise(QWidget* content, int delayMs, int offset, QWidget* parent)
    : QWidget(parent)
    , m_content(content)
    , m_offset(offset)
    , m_opacity(new QGraphicsOpacityEffect(this))
{
    // The layout gives the content its size (and a wrapped label its height); the offset is
    // applied on top of where the layout puts it.
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(content);
    m_opacity->setOpacity(0);
    setGraphicsEffect(m_opacity);

    m_animation.addAnimation(Motion::hold(delayMs));
    auto* rise = new QVariantAnimation;
    rise->setStartValue(0.0);
    rise->setEndValue(1.0);
    rise->setDuration(kDurationMs);
    rise->setEasingCurve(Motion::easeOut());
    connect(rise, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_progress = value.toDouble();
        m_opacity->setOpacity(m_progress);
        place();
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

void Rise::place()
{
    m_content->move(m_content->x(), contentsRect().top() + qRound(m_offset * (1 - m_progress)));
}

bool Rise::event(QEvent* event)
{
    const bool handled = QWidget::event(event);
    // The layout has just put the content back at its resting place.
    if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)
        place();
    return handled;
}

void Rise::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    place();
    Motion::playWhenShown(m_animation);
}

void Rise::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    Motion::pauseWhenHidden(m_animation);
}
