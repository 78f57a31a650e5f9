#pragma once

#include "recap_slides.h"

#include <QVariantAnimation>
#include <QWidget>

#include <optional>

class CapsuleRow;
class FadeOverlay;
class QLabel;

// The recap as a sequence of full-window slides: a click (or a few seconds' wait) moves on, the
// capsules above tell where the person is, and the finale waits for them.
class RecapView : public QWidget
{
    Q_OBJECT

public:
    using Slide = RecapSlides::Slide;

    explicit RecapView(QWidget* parent = nullptr);

    // Builds the slides of this recap and starts at the first.
    void play(const std::optional<RecapData>& recap);
    // Nothing moves any more, and nothing waits to move on.
    void stop();
    // On to the next slide; nothing on the last.
    void advance();

    QList<Slide> slides() const;
    int index() const;
    Slide currentSlide() const;
    QWidget* currentPage() const;
    // Whether the current slide moves on by itself.
    bool isWaiting() const;

    QSize sizeHint() const override;

    static constexpr int kAutoAdvanceMs = 4200;
    static constexpr int kTransitionMs = 600;

Q_SIGNALS:
    void reviewFolderRequested();
    void homeFolderRequested();
    void doneRequested();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* build(Slide slide, const RecapData& recap);
    void goTo(int index);
    void waitOnCurrent();
    void showTransition(double progress);
    void placeChrome();

    QList<Slide> m_slides;
    QList<QWidget*> m_pages;
    int m_index = 0;
    int m_from = 0;
    CapsuleRow* m_capsules;
    QLabel* m_hint;
    FadeOverlay* m_overlay;
    QVariantAnimation m_wait;
    QVariantAnimation m_transition;
    std::optional<QPoint> m_pressedAt;
    bool m_moved = false;
};
