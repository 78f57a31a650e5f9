#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

class QPainter;
class QRectF;

// The tray icon in one colour, the way desktop panels expect: a theme can recolour it to suit
// the panel, and each state stays readable without colour.
namespace TrayGlyphs {

enum class State {
    brand,
    planWaiting,
    busy,
};

// The name the icon is offered under through the desktop's tray protocol; the same name the
// package installs in the hicolor theme.
QString iconName(State state);
// Draws the state in `ink` within `box`.
void paint(QPainter& painter, const QRectF& box, State state, const QColor& ink);
// The icon for the tray: named for the theme, drawn in `ink` wherever pixels are asked for.
QIcon icon(State state, const QColor& ink);

} // namespace TrayGlyphs
