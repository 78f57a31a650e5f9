#include "recap_view.h"

#include "capsule_row.h"
#include "fade_overlay.h"
#include "finale_view.h"
#include "motion.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QWindow>

namespace {

constexpr QSize kSmallest {600, 460};

} // namespace

RecapView::RecapView(QWidget* parent)
    : QWidget(parent)
    , m_capsules(new CapsuleRow(this))
    , m_hint(new QLabel(tr("Click to continue"), this))
    , m_overlay(new FadeOverlay(this))
{
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Your recap"));
    setAutoFillBackground(true);
    QPalette palette = this->palette();
    palette.setColor(QPalette::Window, Qt::black);
    setPalette(palette);

    QFont hintFont = m_hint->font();
    hintFont.setPixelSize(13);
    m_hint->setFont(hintFont);
    m_hint->setAlignment(Qt::AlignCenter);
    m_hint->setAttribute(Qt::WA_TransparentForMouseEvents);
    palette = m_hint->palette();
    palette.setColor(QPalette::WindowText, Theme::stone);
    m_hint->setPalette(palette);

    // Held on animation time rather than a timer, so it pauses with the window.
    m_wait.setStartValue(0.0);
    m_wait.setEndValue(0.0);
    m_wait.setDuration(kAutoAdvanceMs);
    connect(&m_wait, &QAbstractAnimation::finished, this, &RecapView::advance);

    m_transition.setStartValue(0.0);
    m_transition.setEndValue(1.0);
    m_transition.setDuration(kTransitionMs);
    m_transition.setEasingCurve(Motion::easeInOut());
    connect(&m_transition, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        showTransition(value.toDouble());
    });
    connect(&m_transition, &QAbstractAnimation::finished, this, [this] {
        showTransition(1.0);
        m_overlay->hide();
        m_overlay->setPicture({});
    });
}

void RecapView::play(const std::optional<RecapData>& recap)
{
    stop();
    qDeleteAll(m_pages);
    m_pages.clear();
    m_slides = RecapSlides::listFor(recap);
    for (const Slide slide : std::as_const(m_slides)) {
        QWidget* page = build(slide, recap.value_or(RecapData {}));
        page->setParent(this);
        page->hide();
        m_pages.append(page);
    }
    m_capsules->setCount(int(m_slides.size()));
    m_index = m_from = 0;
    m_pages.first()->setGeometry(rect());
    m_pages.first()->show();
    showTransition(1.0);
    placeChrome();
    waitOnCurrent();
    updateGeometry();
}

QWidget* RecapView::build(Slide slide, const RecapData& recap)
{
    switch (slide) {
        case Slide::intro:
            return RecapSlides::intro(recap);
        case Slide::moved:
            return RecapSlides::moved(recap);
        case Slide::groups:
            return RecapSlides::groups(recap);
        case Slide::renamed:
            return RecapSlides::renamed(recap);
        case Slide::clear:
            return RecapSlides::clear(recap, [this] { Q_EMIT reviewFolderRequested(); });
        case Slide::finale:
            break;
    }
    auto* finale = new FinaleView;
    connect(finale, &FinaleView::openFolderRequested, this, &RecapView::homeFolderRequested);
    connect(finale, &FinaleView::doneRequested, this, &RecapView::doneRequested);
    return finale;
}

void RecapView::stop()
{
    m_wait.stop();
    if (m_transition.state() != QAbstractAnimation::Stopped)
        m_transition.setCurrentTime(m_transition.duration());
    m_transition.stop();
    // Hidden pages hold their own animations still.
    if (QWidget* page = currentPage())
        page->hide();
}

void RecapView::advance()
{
    if (m_index < m_slides.size() - 1)
        goTo(m_index + 1);
}

void RecapView::goTo(int index)
{
    // A click in the middle of a change of slide finishes that change first.
    if (m_transition.state() != QAbstractAnimation::Stopped)
        m_transition.setCurrentTime(m_transition.duration());
    QWidget* leaving = m_pages[m_index];
    m_overlay->setGeometry(rect());
    m_overlay->setPicture(leaving->grab());
    m_overlay->setOpacity(1);
    m_overlay->show();
    leaving->hide();
    m_from = m_index;
    m_index = index;
    QWidget* arriving = m_pages[m_index];
    arriving->setGeometry(rect());
    arriving->show();
    placeChrome();
    showTransition(0.0);
    waitOnCurrent();
    m_transition.stop();
    if (isVisible())
        m_transition.start();
}

void RecapView::waitOnCurrent()
{
    m_wait.stop();
    m_wait.setCurrentTime(0);
    if (currentSlide() != Slide::finale && isVisible())
        m_wait.start();
}

void RecapView::showTransition(double progress)
{
    const auto light = [this](int index) { return m_slides.value(index) == Slide::finale ? 1.0 : 0.0; };
    const double shade = light(m_from) + (light(m_index) - light(m_from)) * progress;
    m_overlay->setOpacity(1 - progress);
    m_capsules->setPosition(m_from + (m_index - m_from) * progress);
    m_capsules->setLight(shade);
    QPalette palette = m_hint->palette();
    QColor hint = Theme::stone;
    hint.setAlphaF(1 - shade);
    palette.setColor(QPalette::WindowText, hint);
    m_hint->setPalette(palette);
    m_hint->setVisible(currentSlide() != Slide::finale || progress < 1);
}

void RecapView::placeChrome()
{
    for (QWidget* page : std::as_const(m_pages))
        page->resize(size());
    m_overlay->setGeometry(rect());
    const QSize capsules = m_capsules->sizeHint();
    m_capsules->setGeometry((width() - capsules.width()) / 2, 28, capsules.width(), capsules.height());
    m_hint->setGeometry(0, height() - 52, width(), 24);
    m_overlay->raise();
    m_capsules->raise();
    m_hint->raise();
}

QList<RecapView::Slide> RecapView::slides() const
{
    return m_slides;
}

int RecapView::index() const
{
    return m_index;
}

RecapView::Slide RecapView::currentSlide() const
{
    return m_slides.value(m_index, Slide::finale);
}

QWidget* RecapView::currentPage() const
{
    return m_pages.value(m_index);
}

bool RecapView::isWaiting() const
{
    return m_wait.state() == QAbstractAnimation::Running;
}

QSize RecapView::sizeHint() const
{
    QSize size = kSmallest;
    for (const QWidget* page : m_pages)
        size = size.expandedTo(page->sizeHint());
    return size;
}

void RecapView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    placeChrome();
    showTransition(m_transition.state() == QAbstractAnimation::Stopped ? 1.0 : m_transition.currentValue().toDouble());
}

void RecapView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Motion::playWhenShown(m_transition);
    if (currentSlide() != Slide::finale)
        Motion::playWhenShown(m_wait);
}

void RecapView::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    Motion::pauseWhenHidden(m_transition);
    Motion::pauseWhenHidden(m_wait);
}

void RecapView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    m_pressedAt = event->position().toPoint();
    m_moved = false;
    event->accept();
}

void RecapView::mouseMoveEvent(QMouseEvent* event)
{
    // Without a title bar, the window is moved by dragging it anywhere; that is not a click.
    if (!m_pressedAt || m_moved
        || (event->position().toPoint() - *m_pressedAt).manhattanLength() < QApplication::startDragDistance())
        return;
    m_moved = true;
    if (QWindow* handle = window()->windowHandle())
        handle->startSystemMove();
}

void RecapView::mouseReleaseEvent(QMouseEvent* event)
{
    const bool click = m_pressedAt && !m_moved && event->button() == Qt::LeftButton;
    m_pressedAt.reset();
    if (click)
        advance();
}

void RecapView::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
        case Qt::Key_Space:
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Right:
            advance();
            break;
        case Qt::Key_Escape:
            Q_EMIT doneRequested();
            break;
        default:
            QWidget::keyPressEvent(event);
    }
}
