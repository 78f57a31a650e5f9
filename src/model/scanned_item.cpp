#include "scanned_item.h"

#include <QDir>
#include <QHashFunctions>

QString ScannedItem::relPath(const QString& home) const
{
    const QString path = url.toLocalFile();
    // Only a whole leading folder counts: /home/ann2 is not inside /home/ann.
    if (!home.isEmpty() && path.startsWith(home)
        && (path.size() == home.size() || path.at(home.size()) == u'/' || home.endsWith(u'/'))) {
        QString rest = path.mid(home.size());
        if (home.endsWith(u'/'))
            rest.prepend(u'/');
        return u'~' + rest;
    }
    return path;
}

QString ScannedItem::relPath() const
{
    return relPath(QDir::homePath());
}

size_t qHash(const ScannedItem& item, size_t seed)
{
    return qHashMulti(seed,
                      item.id,
                      item.url,
                      item.name,
                      item.ext,
                      item.kind,
                      item.isDir,
                      item.size,
                      item.modified,
                      item.text.value_or(QString()),
                      item.whereFrom.value_or(QString()),
                      item.junkHints,
                      item.keptCopy.value_or(QString()));
}
