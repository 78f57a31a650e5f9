#pragma once

#include <QSequentialAnimationGroup>
#include <QWidget>

class QGraphicsOpacityEffect;

// Holds one piece of a slide that arrives by rising into its place out of nothing: lowered and
// transparent at first, then, after its delay, lifted and made opaque.
class Rise : public QWidget
{
    Q_OBJECT

public:
    Rise(QWidget* content, int delayMs, int offset = 14, QWidget* parent = nullptr);

    bool isOn() const;
    // 0 lowered and invisible, 1 in place.
    double progress() const;

    static constexpr int kDurationMs = 800;

protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void place();

    QWidget* m_content;
    const int m_offset;
    double m_progress = 0;
    bool m_on = false;
    QGraphicsOpacityEffect* m_opacity;
    QSequentialAnimationGroup m_animation;
};
