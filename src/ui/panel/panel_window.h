#pragma once

#include "controller/controller_parts.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QScreen>
#include <QWidget>

#include <optional>
#include <utility>

class MenuView;
class QScrollArea;

// The top-level window around the panel: a popup at the tray's edge of the screen, or, on a
// desktop without a tray, an ordinary window.
class PanelWindow : public QWidget
{
    Q_OBJECT

public:
    enum class Mode {
        popup,
        window,
    };

    // The screen edge the popup hangs from.
    enum class Edge {
        top,
        bottom,
        left,
        right,
    };

    PanelWindow(const ControllerParts& parts, Mode mode, QWidget* parent = nullptr);

    MenuView* menuView() const;
    Mode mode() const;
    // Shows the panel next to `anchor` (the tray icon's place on screen) or, when that is
    // unknown, at the end nearest the pointer of the screen edge a desktop panel takes.
    void showNear(const QRect& anchor);
    // The tray icon's click: opens the panel, or closes it when it is open.
    void toggle(const QRect& anchor);

    // Where the popup goes on a screen of `screen` with free `area`: beside `anchor` when known,
    // else at the edge a desktop panel takes, at the end nearer `pointer`. Returns the popup's
    // top left corner and the edge it hangs from.
    static std::pair<QPoint, Edge>
    placement(const QRect& screen, const QRect& area, const QRect& anchor, QPoint pointer, QSize size);

    static constexpr int kGap = 6;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Closed by the person (the icon, Escape), not by the focus moving away: the deactivation
    // this causes must not swallow their next click on the icon.
    void hideOnPurpose();
    // Sizes the panel to its content but never past the free area, which it scrolls instead,
    // and puts it back at its edge.
    void fitToScreen();

    Mode m_mode;
    MenuView* m_view;
    QScrollArea* m_scroll;
    QRect m_anchor;
    QPoint m_pointer;
    QPointer<QScreen> m_screen;
    // When the popup last closed because it lost focus; a click on the tray icon takes focus
    // first, and that click should close the panel rather than open it again.
    QElapsedTimer m_closedByFocus;
    bool m_hidingOnPurpose = false;
    bool m_fitQueued = false;
};
