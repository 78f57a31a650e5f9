#pragma once

#include <QString>

// Hands a file or a folder to the person's desktop: the file manager for a folder, the program
// the desktop picks for a file.
namespace DesktopOpen {

// False when the desktop had nothing to open it with.
bool open(const QString& path);
// Opens the folder that holds `path`.
bool showFolder(const QString& path);

} // namespace DesktopOpen
