#include "visible_text.h"

#include "planning/naming.h"

using namespace Qt::Literals::StringLiterals;

namespace VisibleText {

namespace {

bool needsEscape(QChar c)
{
    // Control characters cover C0, DEL and the C1 range (U+0080 to U+009F), which some
    // terminals read as the escape character itself.
    return c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator
        || Naming::isBidiControl(c.unicode());
}

} // namespace

QString of(QStringView text)
{
    QString shown;
    shown.reserve(text.size());
    for (const QChar c : text) {
        if (c == u'\\')
            shown += u"\\\\"_s;
        else if (needsEscape(c))
            shown += u"\\u{"_s + QString::number(c.unicode(), 16).toUpper() + u'}';
        else
            shown += c;
    }
    return shown;
}

} // namespace VisibleText
