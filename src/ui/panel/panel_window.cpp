#include "panel_window.h"

#include "menu_view.h"
#include "ui/theme/sunrise_mark.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QVBoxLayout>

PanelWindow::PanelWindow(const ControllerParts& parts, Mode mode, QWidget* parent)
    : QWidget(parent, mode == Mode::popup ? Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint : Qt::Window)
    , m_mode(mode)
    , m_view(new MenuView(parts, this))
{
    setWindowTitle(tr("Brindlow"));
    setWindowIcon(SunriseMark::icon());
    setAccessibleName(tr("Brindlow"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_view);
}

MenuView* PanelWindow::menuView() const
{
    return m_view;
}

PanelWindow::Mode PanelWindow::mode() const
{
    return m_mode;
}

void PanelWindow::showNear(const QRect& anchor)
{
    adjustSize();
    if (m_mode == Mode::popup) {
        QScreen* screen = anchor.isValid() ? QGuiApplication::screenAt(anchor.center()) : nullptr;
        if (!screen)
            screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen)
            screen = QGuiApplication::primaryScreen();
        const QRect area = screen->availableGeometry();
        QPoint place;
        if (anchor.isValid()) {
            // Under a panel at the top, over one at the bottom, right edges lined up.
            const bool below = anchor.center().y() < area.center().y();
            place = QPoint(anchor.right() - width(), below ? anchor.bottom() + 6 : anchor.top() - height() - 6);
        } else {
            place = QPoint(area.right() - width() - 8, area.top() + 8);
        }
        place.setX(std::clamp(place.x(), area.left(), std::max(area.left(), area.right() - width())));
        place.setY(std::clamp(place.y(), area.top(), std::max(area.top(), area.bottom() - height())));
        move(place);
    }
    show();
    raise();
    activateWindow();
}

void PanelWindow::toggle(const QRect& anchor)
{
    if (isVisible()) {
        hideOnPurpose();
        return;
    }
    if (m_closedByFocus.isValid() && m_closedByFocus.elapsed() < 300)
        return;
    showNear(anchor);
}

void PanelWindow::hideOnPurpose()
{
    m_hidingOnPurpose = true;
    hide();
    m_hidingOnPurpose = false;
    m_closedByFocus.invalidate();
}

void PanelWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && m_mode == Mode::popup) {
        hideOnPurpose();
        return;
    }
    QWidget::keyPressEvent(event);
}

void PanelWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && m_mode == Mode::popup && isVisible() && !isActiveWindow()
        && !m_hidingOnPurpose) {
        hide();
        m_closedByFocus.start();
    }
}
