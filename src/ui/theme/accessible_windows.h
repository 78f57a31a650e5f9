#pragma once

// Our windows are plain widgets, which assistive tools would otherwise be told are "fillers"
// inside nothing: a screen reader then neither finds them as windows nor says their titles.
namespace AccessibleWindows {

// From now on, every top-level widget without a more specific role (a dialog, a menu) is
// presented as a frame named by its title, and tab bars report focus only where it is.
void install();

} // namespace AccessibleWindows
