#include "desktop_open.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace DesktopOpen {

bool open(const QString& path)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

bool showFolder(const QString& path)
{
    return open(QFileInfo(path).path());
}

} // namespace DesktopOpen
