#include "window_fit.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QWidget>

namespace WindowFit {

namespace {

// QScrollArea caps its size hint at a few dozen lines of text; ours asks for all of its content,
// leaving it to the window to settle for less.
class ContentScrollArea : public QScrollArea
{
public:
    using QScrollArea::QScrollArea;

    QSize sizeHint() const override
    {
        if (!widget())
            return QScrollArea::sizeHint();
        const int frame = 2 * frameWidth();
        return widget()->sizeHint() + QSize(frame, frame);
    }

    QSize minimumSizeHint() const override
    {
        if (!widget())
            return QScrollArea::minimumSizeHint();
        // Never narrower than the content, with room for the scroll bar beside it.
        const int width = widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width();
        return {width + 2 * frameWidth(), 80};
    }
};

// Refits its window after the content's layout changed, once per burst of changes.
class ContentFollower : public QObject
{
public:
    ContentFollower(QWidget* window, QWidget* content)
        : QObject(window)
        , m_window(window)
    {
        content->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::LayoutRequest && m_window->isVisible() && !m_queued) {
            m_queued = true;
            QMetaObject::invokeMethod(
                this,
                [this] {
                    m_queued = false;
                    fitToContent(m_window);
                },
                Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QWidget* m_window;
    bool m_queued = false;
};

} // namespace

QScreen* screenFor(const QWidget* window)
{
    if (window && window->isVisible() && window->screen())
        return window->screen();
    if (QScreen* screen = QGuiApplication::screenAt(QCursor::pos()))
        return screen;
    return QGuiApplication::primaryScreen();
}

QRect availableArea(const QWidget* window)
{
    const QScreen* screen = screenFor(window);
    return screen ? screen->availableGeometry() : QRect(QPoint(), kSmallest);
}

QMargins frameMargins(const QWidget* window)
{
    if (window->isVisible() && window->frameGeometry() != window->geometry()) {
        const QRect outer = window->frameGeometry();
        const QRect inner = window->geometry();
        return {inner.left() - outer.left(),
                inner.top() - outer.top(),
                outer.right() - inner.right(),
                outer.bottom() - inner.bottom()};
    }
    const Qt::WindowFlags flags = window->windowFlags();
    if (flags.testFlag(Qt::FramelessWindowHint) || (flags & Qt::WindowType_Mask) == Qt::Popup)
        return {};
    // A typical title bar and border, so that the first placement leaves room for them.
    return {2, 34, 2, 2};
}

void fit(QWidget* window, QSize wanted, const QRect& area)
{
    const QMargins frame = frameMargins(window);
    const QSize room = area.marginsRemoved(frame).size();
    const QSize size = wanted.boundedTo(room).expandedTo(window->minimumSize());
    window->resize(size);
    QRect outer(window->isVisible() ? window->pos() : QPoint(), size.grownBy(frame));
    if (!window->isVisible())
        outer.moveCenter(area.center());
    outer.moveLeft(std::clamp(outer.left(), area.left(), std::max(area.left(), area.right() - outer.width() + 1)));
    outer.moveTop(std::clamp(outer.top(), area.top(), std::max(area.top(), area.bottom() - outer.height() + 1)));
    window->move(outer.topLeft());
}

void fit(QWidget* window)
{
    const QSize wanted = window->testAttribute(Qt::WA_Resized) ? window->size() : window->sizeHint();
    fit(window, wanted, availableArea(window));
}

void fitToContent(QWidget* window, const QRect& area)
{
    // A layout keeps the size its scroll areas asked for before their content changed.
    for (QScrollArea* scroll : window->findChildren<QScrollArea*>())
        scroll->updateGeometry();
    fit(window, window->sizeHint(), area.isNull() ? availableArea(window) : area);
}

void followContent(QWidget* window, QWidget* content)
{
    new ContentFollower(window, content);
}

QScrollArea* scrolling(QWidget* content, QWidget* parent)
{
    auto* area = new ContentScrollArea(parent);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    area->setWidget(content);
    // The content paints the window's own background rather than the scroll area's grey.
    area->viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
    return area;
}

} // namespace WindowFit
