#include "menu_row.h"

#include "ui/theme/theme.h"

#include <QPainter>

MenuRow::MenuRow(const QIcon& icon, const QString& title, QWidget* parent)
    : QAbstractButton(parent)
{
    setIcon(icon);
    setIconSize({20, 20});
    setText(title);
    setAccessibleName(title);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void MenuRow::setDetail(const QString& detail)
{
    m_detail = detail;
    setAccessibleDescription(detail);
    update();
}

QString MenuRow::detail() const
{
    return m_detail;
}

QSize MenuRow::sizeHint() const
{
    return {280, 40};
}

void MenuRow::enterEvent(QEnterEvent* event)
{
    m_hover = true;
    update();
    QAbstractButton::enterEvent(event);
}

void MenuRow::leaveEvent(QEvent* event)
{
    m_hover = false;
    update();
    QAbstractButton::leaveEvent(event);
}

void MenuRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    if (m_hover || isDown() || hasFocus()) {
        painter.setPen(hasFocus() ? QPen(Theme::stone) : QPen(Qt::NoPen));
        painter.setBrush(isDown() ? Theme::hairline : Theme::sand);
        painter.drawRoundedRect(area, 8, 8);
    }
    const int pad = 8;
    const QRect iconRect(pad, (height() - iconSize().height()) / 2, iconSize().width(), iconSize().height());
    icon().paint(&painter, iconRect, Qt::AlignCenter, isEnabled() ? QIcon::Normal : QIcon::Disabled);

    const int textLeft = iconRect.right() + 12;
    QRect textArea(textLeft, 0, width() - textLeft - pad, height());
    QFont detailFont = font();
    detailFont.setPixelSize(12);
    const QFontMetrics detailMetrics(detailFont);
    const int detailWidth
        = m_detail.isEmpty() ? 0 : std::min(detailMetrics.horizontalAdvance(m_detail), textArea.width() / 2);
    painter.setPen(isEnabled() ? Theme::charcoal : Theme::muted);
    painter.setFont(font());
    const QString title = fontMetrics().elidedText(text(), Qt::ElideRight, textArea.width() - detailWidth - 8);
    painter.drawText(textArea, Qt::AlignLeft | Qt::AlignVCenter, title);
    if (!m_detail.isEmpty()) {
        painter.setPen(Theme::muted);
        painter.setFont(detailFont);
        painter.drawText(textArea,
                         Qt::AlignRight | Qt::AlignVCenter,
                         detailMetrics.elidedText(m_detail, Qt::ElideRight, detailWidth));
    }
}
