#include "naming.h"

#include "model/graphemes.h"
#include "scan/enrichment.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace Naming {

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
    QString text = name;
    text.replace(u'/', u'-').replace(u':', u'-');
    // A model's reply may carry line breaks or other control characters; in a file name they
    // only confuse every tool that lists it.
    for (QChar& c : text) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    text = text.trimmed();
    while (text.startsWith(u'.'))
        text.remove(0, 1);
    text = Graphemes::left(text, kMaxStemCharacters);
    if (text.isEmpty())
        return std::nullopt;
    if (ext.isEmpty())
        return text;
    if (text.toLower().endsWith(u'.' + ext.toLower()))
        return text;
    return text + u'.' + ext;
}

} // namespace Naming
