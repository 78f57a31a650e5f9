#pragma once

#include <QString>

// Trims blanks and tabs only, keeping line breaks and other white space: several stored and
// model-given texts are compared this way.
inline QString trimBlanks(QStringView text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && (text[begin] == u' ' || text[begin] == u'\t'))
        ++begin;
    while (end > begin && (text[end - 1] == u' ' || text[end - 1] == u'\t'))
        --end;
    return text.sliced(begin, end - begin).toString();
}
