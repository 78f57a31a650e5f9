#include "zen_view.h"

#include "ui/theme/theme.h"

#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

ZenView::ZenView(QWidget* parent, int dotCount, int columns, double breathCycle)
    : QWidget(parent)
    , m_dotCount(dotCount)
    , m_columns(columns)
    , m_breathCycle(breathCycle)
    , m_label(new QLabel(this))
    , m_labelOpacity(new QGraphicsOpacityEffect)
{
    m_clock.setStartValue(0.0);
    m_clock.setEndValue(1.0);
    m_clock.setDuration(int(breathCycle * 1000));
    m_clock.setLoopCount(-1);
    connect(&m_clock, &QVariantAnimation::valueChanged, this, &ZenView::tick);

    QFont labelFont = m_label->font();
    labelFont.setPixelSize(13);
    m_label->setFont(labelFont);
    m_label->setAlignment(Qt::AlignCenter);
    m_label->setForegroundRole(QPalette::PlaceholderText);
    m_label->setText(breathText());
    m_label->setGraphicsEffect(m_labelOpacity);
    m_labelFade.setStartValue(0.0);
    m_labelFade.setEndValue(1.0);
    m_labelFade.setDuration(1200);
    m_labelFade.setEasingCurve(QEasingCurve::InOutSine);
    connect(&m_labelFade, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_labelOpacity->setOpacity(value.toDouble());
    });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, kCanvasHeight, 0, 0);
    layout->addWidget(m_label);
    setAccessibleName(tr("Progress"));
}

void ZenView::setFraction(double fraction)
{
    fraction = std::clamp(fraction, 0.0, 1.0);
    if (fraction == m_fraction)
        return;
    m_fraction = fraction;
    setAccessibleDescription(tr("%1 percent done").arg(int(std::round(fraction * 100))));
    update();
}

double ZenView::fraction() const
{
    return m_fraction;
}

void ZenView::setPulse(int pulse)
{
    if (pulse > m_pulse) {
        m_ripples.append(time());
        // A burst of decisions should not pile up hundreds of rings.
        while (m_ripples.size() > 6)
            m_ripples.removeFirst();
    }
    m_pulse = pulse;
}

double ZenView::time() const
{
    return m_clock.currentLoop() * m_breathCycle + m_clock.currentLoopTime() / 1000.0;
}

double ZenView::breathLevel() const
{
    return (std::sin(2 * M_PI * time() / m_breathCycle) + 1) / 2;
}

QString ZenView::breathText() const
{
    return std::cos(2 * M_PI * time() / m_breathCycle) > 0 ? tr("Breathe in") : tr("Breathe out");
}

bool ZenView::isRunning() const
{
    return m_clock.state() == QAbstractAnimation::Running;
}

int ZenView::rippleCount() const
{
    return int(m_ripples.size());
}

void ZenView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_clock.state() == QAbstractAnimation::Paused)
        m_clock.resume();
    else
        m_clock.start();
}

void ZenView::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    if (m_clock.state() == QAbstractAnimation::Running)
        m_clock.pause();
}

void ZenView::tick()
{
    const double now = time();
    m_ripples.removeIf([now](double start) { return now - start > kRippleSeconds; });
    const QString text = breathText();
    if (text != m_label->text()) {
        m_label->setText(text);
        m_labelFade.start();
    }
    update(0, 0, width(), kCanvasHeight);
}

void ZenView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double t = time();
    const double breath = breathLevel();
    const int rows = (m_dotCount + m_columns - 1) / m_columns;
    const double spacingX = std::min(22.0, (width() - 24.0) / m_columns);
    const double spacingY = 34.0 + 10.0 * breath;
    const QPointF origin((width() - spacingX * (m_columns - 1)) / 2, kCanvasHeight / 2.0 - spacingY * (rows - 1) / 2);
    const int lit = int(std::round(m_fraction * m_dotCount));
    // The lit dots fill column by column, so the progress reads from left to right.
    const auto position = [&](int index) {
        const int column = index / rows;
        const int row = index % rows;
        const double sway = std::sin(2 * M_PI * t / m_breathCycle + column * 0.45) * 5.0 * breath;
        return QPointF(origin.x() + column * spacingX, origin.y() + row * spacingY + sway);
    };
    const QPointF edge = position(std::clamp(lit - 1, 0, m_dotCount - 1));

    painter.setPen(Qt::NoPen);
    for (int index = 0; index < m_dotCount; ++index) {
        const QPointF centre = position(index);
        double radius = 2.5 + 2.0 * breath;
        for (const double start : m_ripples) {
            const double age = (t - start) / kRippleSeconds;
            const double reach = age * 160.0;
            const double distance = std::hypot(centre.x() - edge.x(), centre.y() - edge.y());
            radius += 2.0 * (1 - age) * std::exp(-std::pow((distance - reach) / 18.0, 2));
        }
        QColor colour = index < lit ? Theme::amber : Theme::stone;
        colour.setAlphaF(index < lit ? 0.95 : 0.35 + 0.25 * breath);
        painter.setBrush(colour);
        painter.drawEllipse(centre, radius, radius);
    }
}
