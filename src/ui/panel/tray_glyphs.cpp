#include "tray_glyphs.h"

#include "brindlow_version.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace TrayGlyphs {

namespace {

// The brand's half sun on the horizon, drawn on a 24-unit grid.
void drawHorizon(QPainter& p, bool filled)
{
    QPainterPath sun;
    sun.moveTo(5.5, 15);
    sun.arcTo(QRectF(5.5, 8.5, 13, 13), 180, -180);
    if (filled) {
        sun.closeSubpath();
        p.setBrush(p.pen().color());
    }
    p.drawPath(sun);
    p.setBrush(Qt::NoBrush);
    p.drawLine(QPointF(2.5, 15), QPointF(21.5, 15));
    p.drawLine(QPointF(7, 19), QPointF(17, 19));
}

// Two arrows chasing each other round: busy.
void drawBusy(QPainter& p)
{
    const QRectF ring(5, 5, 14, 14);
    for (const int start : {20, 200}) {
        p.drawArc(ring, start * 16, 130 * 16);
        const qreal a = qDegreesToRadians(qreal(start + 130));
        const QPointF tip(ring.center().x() + std::cos(a) * 7, ring.center().y() - std::sin(a) * 7);
        const QPointF along(-std::sin(a), -std::cos(a));
        const QPointF out(std::cos(a), -std::sin(a));
        p.drawLine(tip, tip - along * 3.2 + out * 3.2);
        p.drawLine(tip, tip - along * 3.2 - out * 3.2);
    }
}

// Named for the theme, drawn by us: hosts that look the name up get the desktop's rendering,
// hosts that take pixels get ours.
class GlyphEngine : public QIconEngine
{
public:
    GlyphEngine(State state, const QColor& ink)
        : m_state(state)
        , m_ink(ink)
    { }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override
    {
        TrayGlyphs::paint(*painter, rect, m_state, m_ink);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {48, 48}, {64, 64}};
    }

    QString iconName() override
    {
        return TrayGlyphs::iconName(m_state);
    }

    QString key() const override
    {
        return u"brindlow-tray"_s;
    }

    QIconEngine* clone() const override
    {
        return new GlyphEngine(m_state, m_ink);
    }

private:
    State m_state;
    QColor m_ink;
};

} // namespace

QString iconName(State state)
{
    const QString id = QStringLiteral(BRINDLOW_APP_ID);
    switch (state) {
        case State::brand:
            return id + u"-tray-symbolic"_s;
        case State::planWaiting:
            return id + u"-tray-waiting-symbolic"_s;
        case State::busy:
            return id + u"-tray-busy-symbolic"_s;
    }
    return id + u"-tray-symbolic"_s;
}

void paint(QPainter& painter, const QRectF& box, State state, const QColor& ink)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal side = std::min(box.width(), box.height());
    painter.translate(box.center() - QPointF(side / 2, side / 2));
    painter.scale(side / 24, side / 24);
    // Thin lines vanish at 16 pixels; the stroke grows as the icon shrinks.
    const qreal stroke = std::clamp(36.0 / side, 1.8, 2.4);
    painter.setPen(QPen(ink, stroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    switch (state) {
        case State::brand:
            drawHorizon(painter, false);
            break;
        case State::planWaiting:
            // The sun risen whole, and a dot: something is ready.
            drawHorizon(painter, true);
            painter.setPen(Qt::NoPen);
            painter.setBrush(ink);
            painter.drawEllipse(QPointF(19.5, 4.5), 3.2, 3.2);
            break;
        case State::busy:
            drawBusy(painter);
            break;
    }
    painter.restore();
}

QIcon icon(State state, const QColor& ink)
{
    return QIcon(new GlyphEngine(state, ink));
}

} // namespace TrayGlyphs
