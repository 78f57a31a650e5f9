#include "panel_window.h"

#include "menu_view.h"
#include "task_bar.h"
#include "ui/theme/sunrise_mark.h"
#include "ui/theme/window_fit.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <array>

namespace {

// Not a popup in Qt's sense: those are hidden from screen readers. A frameless tool window that
// closes as it loses the focus, kept out of the task bar.
Qt::WindowFlags flagsFor(PanelWindow::Mode mode)
{
    return mode == PanelWindow::Mode::popup ? Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                                            : Qt::Window;
}

// The screen edge nearest the tray icon: a tray lives in a panel along one edge.
PanelWindow::Edge edgeOfAnchor(const QRect& screen, const QRect& anchor)
{
    const QPoint c = anchor.center();
    const std::array<std::pair<int, PanelWindow::Edge>, 4> distances {{
        {c.y() - screen.top(), PanelWindow::Edge::top},
        {screen.bottom() - c.y(), PanelWindow::Edge::bottom},
        {c.x() - screen.left(), PanelWindow::Edge::left},
        {screen.right() - c.x(), PanelWindow::Edge::right},
    }};
    return std::min_element(distances.begin(), distances.end())->second;
}

// The edge a desktop panel takes from the screen, where the tray usually is; none when nothing
// reduces the free area.
std::optional<PanelWindow::Edge> edgeOfPanel(const QRect& screen, const QRect& area)
{
    const std::array<std::pair<int, PanelWindow::Edge>, 4> taken {{
        {area.top() - screen.top(), PanelWindow::Edge::top},
        {screen.bottom() - area.bottom(), PanelWindow::Edge::bottom},
        {area.left() - screen.left(), PanelWindow::Edge::left},
        {screen.right() - area.right(), PanelWindow::Edge::right},
    }};
    const auto widest
        = std::max_element(taken.begin(), taken.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    if (widest->first <= 0)
        return std::nullopt;
    return widest->second;
}

QPoint besideAnchor(const QRect& anchor, PanelWindow::Edge edge, QSize size)
{
    const int gap = PanelWindow::kGap;
    switch (edge) {
        case PanelWindow::Edge::top:
            return {anchor.right() + 1 - size.width(), anchor.bottom() + 1 + gap};
        case PanelWindow::Edge::bottom:
            return {anchor.right() + 1 - size.width(), anchor.top() - gap - size.height()};
        case PanelWindow::Edge::left:
            return {anchor.right() + 1 + gap, anchor.top()};
        case PanelWindow::Edge::right:
            return {anchor.left() - gap - size.width(), anchor.top()};
    }
    return anchor.topLeft();
}

QPoint atEdgeEnd(const QRect& area, PanelWindow::Edge edge, QPoint pointer, QSize size)
{
    const int gap = PanelWindow::kGap;
    const int left = area.left() + gap;
    const int right = area.right() + 1 - gap - size.width();
    const int top = area.top() + gap;
    const int bottom = area.bottom() + 1 - gap - size.height();
    const bool rightEnd = pointer.x() >= area.center().x();
    const bool bottomEnd = pointer.y() >= area.center().y();
    switch (edge) {
        case PanelWindow::Edge::top:
            return {rightEnd ? right : left, top};
        case PanelWindow::Edge::bottom:
            return {rightEnd ? right : left, bottom};
        case PanelWindow::Edge::left:
            return {left, bottomEnd ? bottom : top};
        case PanelWindow::Edge::right:
            return {right, bottomEnd ? bottom : top};
    }
    return {right, top};
}

} // namespace

PanelWindow::PanelWindow(const ControllerParts& parts, Mode mode, QWidget* parent)
    : QWidget(parent, flagsFor(mode))
    , m_mode(mode)
    , m_view(new MenuView(parts))
    , m_scroll(WindowFit::scrolling(m_view, this))
{
    setWindowTitle(tr("Brindlow"));
    setWindowIcon(SunriseMark::icon());
    setAccessibleName(tr("Brindlow"));
    m_view->setAutoFillBackground(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_scroll);
    // A panel that changes (another phase, a message line) is sized and placed again.
    m_view->installEventFilter(this);
    if (mode == Mode::popup)
        TaskBar::skip(this);
    fitToScreen();
}

MenuView* PanelWindow::menuView() const
{
    return m_view;
}

PanelWindow::Mode PanelWindow::mode() const
{
    return m_mode;
}

std::pair<QPoint, PanelWindow::Edge>
PanelWindow::placement(const QRect& screen, const QRect& area, const QRect& anchor, QPoint pointer, QSize size)
{
    QPoint place;
    Edge edge = Edge::top;
    if (anchor.isValid()) {
        edge = edgeOfAnchor(screen, anchor);
        place = besideAnchor(anchor, edge, size);
    } else if (const std::optional<Edge> taken = edgeOfPanel(screen, area)) {
        edge = *taken;
        place = atEdgeEnd(area, edge, pointer, size);
    } else {
        // Nothing to go by: the top right corner, where trays most often are.
        place = atEdgeEnd(area, Edge::top, area.topRight(), size);
    }
    place.setX(std::clamp(place.x(), area.left(), std::max(area.left(), area.right() + 1 - size.width())));
    place.setY(std::clamp(place.y(), area.top(), std::max(area.top(), area.bottom() + 1 - size.height())));
    return {place, edge};
}

void PanelWindow::showNear(const QRect& anchor)
{
    m_anchor = anchor;
    m_pointer = QCursor::pos();
    m_screen = anchor.isValid() ? QGuiApplication::screenAt(anchor.center()) : nullptr;
    if (!m_screen)
        m_screen = QGuiApplication::screenAt(m_pointer);
    if (!m_screen)
        m_screen = QGuiApplication::primaryScreen();
    fitToScreen();
    show();
    raise();
    activateWindow();
    m_view->focusPrimary();
}

void PanelWindow::fitToScreen()
{
    m_fitQueued = false;
    QScreen* screen = m_screen ? m_screen.data() : WindowFit::screenFor(this);
    if (!screen)
        return;
    const QRect area = screen->availableGeometry();
    // The view's fixed width is in its minimum and maximum, not in its layout's hint.
    const QSize content = m_view->sizeHint().expandedTo(m_view->minimumSize()).boundedTo(m_view->maximumSize());
    const int tallest = std::max(120, area.height() - 2 * kGap);
    const bool scrolls = content.height() > tallest;
    const QSize size(content.width() + (scrolls ? m_scroll->verticalScrollBar()->sizeHint().width() : 0),
                     std::min(content.height(), tallest));
    setFixedSize(size);
    if (m_mode == Mode::popup)
        move(placement(screen->geometry(), area, m_anchor, m_pointer, size).first);
    else
        WindowFit::fit(this, size, area);
}

bool PanelWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_view && event->type() == QEvent::LayoutRequest && !m_fitQueued) {
        m_fitQueued = true;
        QMetaObject::invokeMethod(this, &PanelWindow::fitToScreen, Qt::QueuedConnection);
    }
    return QWidget::eventFilter(watched, event);
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
    // A click anywhere else takes the focus away, and the popup goes as a menu would.
    if (event->type() == QEvent::ActivationChange && m_mode == Mode::popup && isVisible() && !isActiveWindow()
        && !m_hidingOnPurpose) {
        hide();
        m_closedByFocus.start();
    }
}
