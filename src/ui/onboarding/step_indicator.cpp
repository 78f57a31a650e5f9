#include "step_indicator.h"

#include "ui/theme/theme.h"

#include <QPainter>
#include <QPainterPath>

namespace {
constexpr int kDot = 22;
constexpr int kGap = 36;
} // namespace

StepIndicator::StepIndicator(int steps, QWidget* parent)
    : QWidget(parent)
    , m_steps(steps)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCurrent(0);
}

void StepIndicator::setCurrent(int step)
{
    m_current = step;
    setAccessibleName(tr("Step %1 of %2").arg(step + 1).arg(m_steps));
    update();
}

int StepIndicator::current() const
{
    return m_current;
}

QSize StepIndicator::sizeHint() const
{
    return {m_steps * kDot + (m_steps - 1) * kGap + 2, kDot + 2};
}

void StepIndicator::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int step = 0; step < m_steps; ++step) {
        const QRectF dot(1 + step * (kDot + kGap), 1, kDot, kDot);
        if (step > 0) {
            painter.setPen(QPen(step <= m_current ? Theme::amberDeep : Theme::hairline, 2));
            painter.drawLine(QPointF(dot.left() - kGap + 6, dot.center().y()),
                             QPointF(dot.left() - 6, dot.center().y()));
        }
        const bool done = step < m_current;
        const bool current = step == m_current;
        painter.setPen(current || done ? Qt::NoPen : QPen(Theme::stone, 1.5));
        painter.setBrush(current || done ? Theme::amberDeep : Theme::surface);
        painter.drawEllipse(dot);
        if (done) {
            QPainterPath check;
            check.moveTo(dot.left() + kDot * 0.28, dot.top() + kDot * 0.52);
            check.lineTo(dot.left() + kDot * 0.44, dot.top() + kDot * 0.68);
            check.lineTo(dot.left() + kDot * 0.73, dot.top() + kDot * 0.36);
            painter.setPen(QPen(Theme::surface, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            painter.setBrush(Qt::NoBrush);
            painter.drawPath(check);
        } else {
            QFont font = painter.font();
            font.setPixelSize(12);
            font.setWeight(QFont::DemiBold);
            painter.setFont(font);
            painter.setPen(current ? Theme::surface : Theme::muted);
            painter.drawText(dot, Qt::AlignCenter, QString::number(step + 1));
        }
    }
}
