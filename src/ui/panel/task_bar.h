#pragma once

class QWidget;

// Keeps a window out of the desktop's task bar and pager. A tool window is normally left out
// because it belongs to a main window; the panel has none, so some task bars list it.
namespace TaskBar {

// Marks the window before it is first shown; does nothing off X11.
void skip(QWidget* window);

} // namespace TaskBar
