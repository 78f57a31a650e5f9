#include "capsule_row.h"

#include "ui/theme/theme.h"

#include <QPainter>

#include <cmath>

namespace {

constexpr qreal kHeight = 6;
constexpr qreal kShort = 6;
constexpr qreal kLong = 22;
constexpr qreal kGap = 6;

QColor mix(const QColor& from, const QColor& to, double amount)
{
    return QColor::fromRgbF(from.redF() + (to.redF() - from.redF()) * amount,
                            from.greenF() + (to.greenF() - from.greenF()) * amount,
                            from.blueF() + (to.blueF() - from.blueF()) * amount,
                            from.alphaF() + (to.alphaF() - from.alphaF()) * amount);
}

} // namespace

CapsuleRow::CapsuleRow(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    describe();
}

void CapsuleRow::setCount(int count)
{
    m_count = count;
    describe();
    updateGeometry();
    update();
}

int CapsuleRow::count() const
{
    return m_count;
}

void CapsuleRow::setPosition(double position)
{
    const bool newSlide = std::lround(position) != std::lround(m_position);
    m_position = position;
    if (newSlide)
        describe();
    update();
}

void CapsuleRow::setLight(double light)
{
    m_light = light;
    update();
}

QSize CapsuleRow::sizeHint() const
{
    return {int(std::ceil(kLong + std::max(0, m_count - 1) * (kShort + kGap))), int(kHeight)};
}

void CapsuleRow::describe()
{
    setAccessibleName(tr("Slide %1 of %2").arg(std::lround(m_position) + 1).arg(m_count));
}

void CapsuleRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor dimOnDark = Theme::ivory;
    dimOnDark.setAlphaF(0.3);
    const QColor current = mix(Theme::ivory, Theme::charcoal, m_light);
    QColor dimOnLight = Theme::stone;
    dimOnLight.setAlphaF(0.6);
    const QColor other = mix(dimOnDark, dimOnLight, m_light);
    const qreal total = kLong + (m_count - 1) * (kShort + kGap);
    qreal x = (width() - total) / 2;
    for (int i = 0; i < m_count; ++i) {
        const double nearness = std::max(0.0, 1.0 - std::abs(i - m_position));
        const qreal w = kShort + (kLong - kShort) * nearness;
        painter.setBrush(mix(other, current, nearness));
        painter.drawRoundedRect(QRectF(x, (height() - kHeight) / 2, w, kHeight), kHeight / 2, kHeight / 2);
        x += w + kGap;
    }
}
