#include "menu_bar_label.h"

#include "controller/activity.h"
#include "controller/refresh_run.h"
#include "ui/theme/sunrise_mark.h"
#include "ui/theme/theme.h"

#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QSystemTrayIcon>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

void drawTile(QPainter& painter, qreal s, const QColor& fill)
{
    painter.setPen(QPen(Theme::charcoal, std::max<qreal>(1, s / 22)));
    painter.setBrush(fill);
    const qreal inset = s * 0.06;
    painter.drawRoundedRect(QRectF(inset, inset, s - 2 * inset, s - 2 * inset), s * 0.24, s * 0.24);
}

// A sun standing whole on the horizon, in white on amber: something is ready.
void drawPlanWaiting(QPainter& painter, qreal s)
{
    drawTile(painter, s, Theme::amberDeep);
    const QPointF centre(s / 2, s * 0.64);
    const qreal r = s * 0.24;
    QPainterPath sun;
    sun.moveTo(centre);
    sun.arcTo(QRectF(centre.x() - r, centre.y() - r, 2 * r, 2 * r), 0, 180);
    sun.closeSubpath();
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::surface);
    painter.drawPath(sun);
    painter.setPen(QPen(Theme::surface, std::max<qreal>(1.2, s * 0.08), Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(s * 0.2, s * 0.64), QPointF(s * 0.8, s * 0.64));
    painter.drawLine(QPointF(s * 0.34, s * 0.78), QPointF(s * 0.66, s * 0.78));
}

// Two arrows chasing each other round: busy.
void drawBusy(QPainter& painter, qreal s)
{
    drawTile(painter, s, Theme::ivory);
    const qreal stroke = std::max<qreal>(1.3, s * 0.09);
    const QRectF ring(s * 0.26, s * 0.26, s * 0.48, s * 0.48);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Theme::amberDeep, stroke, Qt::SolidLine, Qt::RoundCap));
    for (const int start : {20, 200}) {
        painter.drawArc(ring, start * 16, 130 * 16);
        const qreal a = qDegreesToRadians(qreal(start + 130));
        const QPointF tip(ring.center().x() + std::cos(a) * ring.width() / 2,
                          ring.center().y() - std::sin(a) * ring.height() / 2);
        const QPointF along(-std::sin(a), -std::cos(a)); // direction of travel on screen
        const QPointF out(std::cos(a), -std::sin(a));
        const qreal head = s * 0.13;
        painter.drawLine(tip, tip - along * head + out * head);
        painter.drawLine(tip, tip - along * head - out * head);
    }
}

} // namespace

MenuBarLabel::MenuBarLabel(const ControllerParts& parts, QObject* parent)
    : QObject(parent)
    , m_parts(parts)
    , m_tray(new QSystemTrayIcon(this))
    , m_menu(new QMenu)
{
    m_tray->setToolTip(tr("Brindlow"));
    m_menu->setAccessibleName(tr("Brindlow"));
    QAction* open = m_menu->addAction(tr("Open Brindlow"));
    connect(open, &QAction::triggered, this, &MenuBarLabel::panelRequested);
    // A refresh would drop the plan waiting for review: while one waits, the menu leads to it.
    QAction* refresh = m_menu->addAction(tr("Refresh now"));
    connect(refresh, &QAction::triggered, this, [this] { m_parts.refresh.start(TidyMode::quick); });
    QAction* review = m_menu->addAction(tr("Review changes"));
    connect(review, &QAction::triggered, this, [this] { Q_EMIT windowRequested(u"review"_s); });
    QAction* settings = m_menu->addAction(tr("Settings"));
    connect(settings, &QAction::triggered, this, [this] { Q_EMIT windowRequested(u"settings"_s); });
    m_menu->addSeparator();
    QAction* quit = m_menu->addAction(tr("Quit Brindlow"));
    connect(quit, &QAction::triggered, this, &MenuBarLabel::quitRequested);
    m_tray->setContextMenu(m_menu);

    connect(m_tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            Q_EMIT panelToggled(m_tray->geometry());
    });
    connect(&m_parts.activity, &Activity::phaseChanged, this, &MenuBarLabel::updateImage);
    const auto followPhase = [this, refresh, review] {
        const bool planWaits = m_parts.activity.phase() == Phase::review;
        refresh->setVisible(!planWaits);
        refresh->setEnabled(!m_parts.activity.isBusy());
        review->setVisible(planWaits);
    };
    followPhase();
    connect(&m_parts.activity, &Activity::phaseChanged, refresh, followPhase);
    m_tray->setIcon(render(m_image));
    updateImage();
}

MenuBarLabel::~MenuBarLabel()
{
    delete m_menu;
}

MenuBarLabel::Image MenuBarLabel::image() const
{
    return m_image;
}

QSystemTrayIcon* MenuBarLabel::trayIcon() const
{
    return m_tray;
}

QMenu* MenuBarLabel::contextMenu() const
{
    return m_menu;
}

void MenuBarLabel::updateImage()
{
    const Image wanted = m_parts.activity.phase() == Phase::review ? Image::planWaiting
        : m_parts.activity.isBusy()                                ? Image::busy
                                                                   : Image::brand;
    if (wanted == m_image)
        return;
    m_image = wanted;
    m_tray->setIcon(render(m_image));
}

QIcon MenuBarLabel::render(Image image)
{
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        switch (image) {
            case Image::brand:
                drawTile(painter, size, Theme::ivory);
                SunriseMark::paint(painter, QRectF(size * 0.1, size * 0.1, size * 0.8, size * 0.8), false);
                break;
            case Image::planWaiting:
                drawPlanWaiting(painter, size);
                break;
            case Image::busy:
                drawBusy(painter, size);
                break;
        }
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}
