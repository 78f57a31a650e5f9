#include "naming.h"

#include "model/graphemes.h"
#include "scan/enrichment.h"

#include <QRegularExpression>
#include <QTextBoundaryFinder>

using namespace Qt::Literals::StringLiterals;

namespace Naming {

namespace {

// The text as one name: separators become "-", line breaks and other control characters a
// blank, and no leading dot is left to hide it or make it "." or "..".
QString cleaned(const QString& name)
{
    QString text;
    text.reserve(name.size());
    for (const QChar c : name) {
        if (isBidiControl(c.unicode()))
            continue;
        if (c == u'/' || c == u':')
            text += u'-';
        else if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            text += u' ';
        else
            text += c;
    }
    qsizetype start = 0;
    while (start < text.size() && (text[start] == u'.' || text[start].isSpace()))
        ++start;
    return text.sliced(start).trimmed();
}

// The longest run of whole characters (grapheme clusters) whose UTF-8 form fits in `maxBytes`.
QString withinBytes(const QString& text, qsizetype maxBytes)
{
    if (text.toUtf8().size() <= maxBytes)
        return text;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype fits = 0;
    qsizetype bytes = 0;
    for (qsizetype end = finder.toNextBoundary(); end > 0; end = finder.toNextBoundary()) {
        bytes += QStringView(text).sliced(fits, end - fits).toUtf8().size();
        if (bytes > maxBytes)
            break;
        fits = end;
    }
    return text.first(fits);
}

} // namespace

bool isBidiControl(char16_t c)
{
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

bool isMeaningless(const QString& name)
{
    static const QList<QRegularExpression> patterns = [] {
        QList<QRegularExpression> list;
        for (const char16_t* pattern : {u"^[0-9a-f]{8}-[0-9a-f]{4}",
                                        u"^img[_-]?\\d+",
                                        u"^dsc[_-]?\\d+",
                                        u"^pxl_",
                                        u"^untitled",
                                        u"^image( ?\\(\\d+\\))?$",
                                        u"^download( ?\\(\\d+\\))?$",
                                        u"^\\d+x\\d+",
                                        u"^[0-9a-f]{16,}$",
                                        u"^\\d{6,}",
                                        u"^screen ?shot",
                                        u"^screenshot",
                                        u"^-?1x-1",
                                        u"^export( ?\\(\\d+\\))?$",
                                        u"^final",
                                        u"^copy of",
                                        u"^unnamed",
                                        u"^file( ?\\(\\d+\\))?$",
                                        u"^\\+$"}) {
            list.append(
                QRegularExpression(QString::fromUtf16(pattern), QRegularExpression::UseUnicodePropertiesOption));
        }
        return list;
    }();
    const QString stem = Scanner::nameWithoutExtension(name).toLower();
    return std::any_of(patterns.cbegin(), patterns.cend(), [&stem](const QRegularExpression& pattern) {
        return pattern.match(stem).hasMatch();
    });
}

std::optional<QString> sanitize(const QString& name, const QString& ext)
{
    QString text = Graphemes::left(cleaned(name), kMaxStemCharacters);
    if (text.isEmpty())
        return std::nullopt;
    if (ext.isEmpty())
        return text;
    if (text.toLower().endsWith(u'.' + ext.toLower()))
        return text;
    return text + u'.' + ext;
}

std::optional<QString> folderName(const QString& name)
{
    const QString text = withinBytes(cleaned(name), kMaxNameBytes).trimmed();
    if (text.isEmpty())
        return std::nullopt;
    return text;
}

} // namespace Naming
