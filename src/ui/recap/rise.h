#pragma once

#include <QSequentialAnimationGroup>
#include <QWidget>

class RiseEffect;

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
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    double m_progress = 0;
    bool m_on = false;
    RiseEffect* m_effect;
    QSequentialAnimationGroup m_animation;
};
