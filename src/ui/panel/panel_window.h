#pragma once

#include "controller/controller_parts.h"

#include <QElapsedTimer>
#include <QWidget>

class MenuView;

// The top-level window around the panel: a frameless popup beside the tray icon, or, on a
// desktop without a tray, an ordinary window.
class PanelWindow : public QWidget
{
    Q_OBJECT

public:
    enum class Mode {
        popup,
        window,
    };

    PanelWindow(const ControllerParts& parts, Mode mode, QWidget* parent = nullptr);

    MenuView* menuView() const;
    Mode mode() const;
    // Shows the panel next to `anchor` (the tray icon's place on screen) or, when that is
    // unknown, at the top right of the screen under the pointer.
    void showNear(const QRect& anchor);
    // The tray icon's click: opens the panel, or closes it when it is open.
    void toggle(const QRect& anchor);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    Mode m_mode;
    MenuView* m_view;
    // When the popup last closed because it lost focus; a click on the tray icon takes focus
    // first, and that click should close the panel rather than open it again.
    // Closed by the person (the icon, Escape), not by the focus moving away: the deactivation
    // this causes must not swallow their next click on the icon.
    void hideOnPurpose();

    QElapsedTimer m_closedByFocus;
    bool m_hidingOnPurpose = false;
};
