#include "fade_overlay.h"

#include <QPainter>

FadeOverlay::FadeOverlay(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
}

void FadeOverlay::setPicture(const QPixmap& picture)
{
    m_picture = picture;
    update();
}

void FadeOverlay::setOpacity(double opacity)
{
    m_opacity = opacity;
    update();
}

double FadeOverlay::opacity() const
{
    return m_opacity;
}

void FadeOverlay::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setOpacity(m_opacity);
    painter.drawPixmap(0, 0, m_picture);
}
