#pragma once

#include "controller/controller_parts.h"

#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

class QLabel;
class QPushButton;
class ZenView;

// What the panel shows while a refresh, an apply or an undo runs: the breathing dots and a calm
// status line, and a way to stop a refresh.
class ScanningPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ScanningPanel(const ControllerParts& parts, QWidget* parent = nullptr);

    // Starts the displayed progress from where the work is now, without easing in from zero.
    void enter();
    // decided / total, never above 1, and 0 before anything is counted.
    double targetFraction() const;
    ZenView* zenView() const;

    static constexpr int kSmoothingMs = 1400;
    static constexpr int kStatusRereadMs = 3000;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void progressChanged();
    void refreshStatus();
    void showFraction();

    ControllerParts m_parts;
    ZenView* m_zen;
    QLabel* m_status;
    QPushButton* m_stop;
    double m_smooth = 0;
    QVariantAnimation m_smoothing;
    QTimer m_statusTimer;
};
