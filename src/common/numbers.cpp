#include "numbers.h"

#include <QLocale>

using namespace Qt::Literals::StringLiterals;

namespace Numbers {

// The default locale is the person's own; tests and the screenshot tools pin it to one.
QString count(qint64 value)
{
    return QLocale().toString(value);
}

QString size(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString money(double usd, Nothing nothing)
{
    const bool underACent = usd < 0.01 && (usd > 0 || nothing == Nothing::underACent);
    // Dollars are written the same way in every locale, like the service's own bills.
    return underACent ? u"<$0.01"_s : u"$"_s + QString::number(usd, 'f', 2);
}

} // namespace Numbers
