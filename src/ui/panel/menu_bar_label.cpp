#include "menu_bar_label.h"

#include "controller/activity.h"
#include "controller/refresh_run.h"
#include "tray_glyphs.h"
#include "ui/theme/theme.h"

#include <QMenu>
#include <QSystemTrayIcon>

using namespace Qt::Literals::StringLiterals;

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
    // Dark ink for a light desktop, light ink for a dark one: panels mostly follow the scheme.
    const QColor ink = Theme::desktopIsDark() ? QColor(0xee, 0xee, 0xec) : QColor(0x2e, 0x34, 0x36);
    switch (image) {
        case Image::brand:
            return TrayGlyphs::icon(TrayGlyphs::State::brand, ink);
        case Image::planWaiting:
            return TrayGlyphs::icon(TrayGlyphs::State::planWaiting, ink);
        case Image::busy:
            return TrayGlyphs::icon(TrayGlyphs::State::busy, ink);
    }
    return TrayGlyphs::icon(TrayGlyphs::State::brand, ink);
}
