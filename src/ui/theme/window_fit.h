#pragma once

#include <QMargins>
#include <QRect>
#include <QSize>

class QScreen;
class QScrollArea;
class QWidget;

// Keeps windows on small screens: every window opens inside the screen's available area (what
// the desktop's panels leave free), and content taller than that scrolls instead of running off
// the bottom edge.
namespace WindowFit {

// The smallest screen area every window must work in, title bar included.
inline constexpr QSize kSmallest {1280, 680};

// The screen a window belongs on: its own once shown, else the one under the pointer.
QScreen* screenFor(const QWidget* window);
QRect availableArea(const QWidget* window);
// What the window manager adds around a window; a guess until the window has been shown.
QMargins frameMargins(const QWidget* window);

// Sizes `window` to `wanted` but no larger than `area` allows (frame included) and no smaller
// than its minimum, and moves it so that all of it, frame included, lies inside `area`. A window
// not yet shown is centred.
void fit(QWidget* window, QSize wanted, const QRect& area);
// The same on the window's own screen, at the size it was given, else at its size hint.
void fit(QWidget* window);
// At its size hint, for a window whose content has changed: in `area`, or when that is null on
// the window's own screen.
void fitToContent(QWidget* window, const QRect& area = {});

// From now on, whenever `content` changes its layout (a line appears, a row goes) the shown
// window is sized to its content again, as far as the screen allows.
void followContent(QWidget* window, QWidget* content);

// A frameless scroll area around `content` that scrolls vertically only where it must; its size
// hint is the content's, so a window sized to its hint shows everything when the screen allows.
QScrollArea* scrolling(QWidget* content, QWidget* parent);

} // namespace WindowFit
