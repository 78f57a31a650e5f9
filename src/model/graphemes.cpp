#include "graphemes.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace Graphemes {

qsizetype count(QStringView text)
{
    if (text.isEmpty())
        return 0;
    // Printable ASCII characters are clusters of their own, and most file names hold nothing else.
    if (std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() >= 0x20 && c.unicode() < 0x7f; }))
        return text.size();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype clusters = 0;
    while (finder.toNextBoundary() != -1)
        ++clusters;
    return clusters;
}

namespace {

// Where the first `limit` clusters of the first `length` units of `text` end, or -1 when there
// are fewer.
qsizetype endOfClusters(const QString& text, qsizetype length, qsizetype limit)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.constData(), length);
    qsizetype end = -1;
    for (qsizetype clusters = 0; clusters < limit; ++clusters) {
        end = finder.toNextBoundary();
        if (end == -1)
            return -1;
    }
    return end;
}

} // namespace

QString left(const QString& text, qsizetype limit)
{
    if (limit <= 0)
        return {};
    // Every cluster holds at least one UTF-16 unit, so a short text needs no boundary search.
    if (text.size() <= limit)
        return text;
    // The finder prepares all the text it is given, and snippets are cut from texts up to a
    // hundred times longer than they are. Whether a cluster ends before a character depends on
    // what precedes it and on that character alone, so an end found inside a head of the text
    // (one that does not split a surrogate pair) is an end in the whole text too; only an end
    // at the edge of the head, or too few clusters in it, needs the whole text.
    qsizetype head = std::min(text.size(), limit * 4 + 64);
    if (head < text.size() && text[head - 1].isHighSurrogate())
        ++head;
    qsizetype end = endOfClusters(text, head, limit);
    if (head < text.size() && (end == -1 || end == head))
        end = endOfClusters(text, text.size(), limit);
    return end == -1 ? text : text.left(end);
}

} // namespace Graphemes
