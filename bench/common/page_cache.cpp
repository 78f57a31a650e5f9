#include "page_cache.h"

#include <QDirIterator>
#include <QFile>

namespace PageCache {

void warmFile(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        while (!file.read(1 << 20).isEmpty()) { }
    }
}

void warm(const QString& folder)
{
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (it.hasNext())
        warmFile(it.next());
}

} // namespace PageCache
