#include "graphemes.h"

#include <QTextBoundaryFinder>

namespace Graphemes {

qsizetype count(QStringView text)
{
    if (text.isEmpty())
        return 0;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype clusters = 0;
    while (finder.toNextBoundary() != -1)
        ++clusters;
    return clusters;
}

QString left(const QString& text, qsizetype limit)
{
    if (limit <= 0)
        return {};
    // Every cluster holds at least one UTF-16 unit, so a short text needs no boundary search.
    if (text.size() <= limit)
        return text;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype clusters = 0;
    qsizetype end = 0;
    while (clusters < limit) {
        const qsizetype next = finder.toNextBoundary();
        if (next == -1)
            return text;
        end = next;
        ++clusters;
    }
    return text.left(end);
}

} // namespace Graphemes
