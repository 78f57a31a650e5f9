#pragma once

#include <QString>

// Hands a file to the desktop: opened by its default application, or shown selected in the file
// manager. Neither waits: the desktop answers in its own time, or not at all.
namespace FileOpener {

void open(const QString& path);
// Falls back to opening the folder itself when no file manager answers the request to select.
void showInFolder(const QString& path);

} // namespace FileOpener
