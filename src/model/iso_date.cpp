#include "iso_date.h"

#include <QRegularExpression>
#include <QTimeZone>

using namespace Qt::Literals::StringLiterals;

namespace IsoDate {

QString format(const QDateTime& moment)
{
    QDateTime utc = moment.toUTC();
    utc.setTime(QTime(utc.time().hour(), utc.time().minute(), utc.time().second()));
    return utc.toString(u"yyyy-MM-dd'T'HH:mm:ss'Z'"_s);
}

std::optional<QDateTime> parse(QStringView text)
{
    static const QRegularExpression pattern(uR"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})(?:\.\d+)?)"
                                            uR"((Z|([+-])(\d{2}):?(\d{2}))$)"_s);
    const QRegularExpressionMatch m = pattern.match(text);
    if (!m.hasMatch())
        return std::nullopt;
    auto number = [&m](int group) { return m.capturedView(group).toInt(); };

    const QDate date(number(1), number(2), number(3));
    if (!date.isValid() || number(4) > 23 || number(5) > 59 || number(6) > 59)
        return std::nullopt;
    const QTime time(number(4), number(5), number(6));

    int offsetSeconds = 0;
    if (m.capturedView(7) != u"Z") {
        if (number(9) > 23 || number(10) > 59)
            return std::nullopt;
        offsetSeconds = (number(9) * 3600 + number(10) * 60) * (m.capturedView(8) == u"-" ? -1 : 1);
    }
    return QDateTime(date, time, QTimeZone(offsetSeconds)).toUTC();
}

} // namespace IsoDate
