#include "panel_format.h"

#include <QLocale>

using namespace Qt::Literals::StringLiterals;

namespace PanelFormat {

QString number(qint64 value)
{
    return QLocale().toString(value);
}

QString size(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString cost(double usd)
{
    // Dollars are written the same way in every locale, like the service's own bills.
    return usd < 0.01 ? u"<$0.01"_s : u"$"_s + QString::number(usd, 'f', 2);
}

} // namespace PanelFormat
