#include "relative_time.h"

#include <QLocale>

#include <unicode/locid.h>
#include <unicode/reldatefmt.h>
#include <unicode/unistr.h>

#include <cmath>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace RelativeTime {

QString format(const QDateTime& moment, const QDateTime& now)
{
    const double seconds = double(now.secsTo(moment));
    const double magnitude = std::abs(seconds);
    struct Unit
    {
        double length;
        URelativeDateTimeUnit unit;
    };
    // From the largest unit down: the first one that fits at least once is used.
    constexpr Unit units[] = {{365.0 * 86400, UDAT_REL_UNIT_YEAR},
                              {30.0 * 86400, UDAT_REL_UNIT_MONTH},
                              {7.0 * 86400, UDAT_REL_UNIT_WEEK},
                              {86400, UDAT_REL_UNIT_DAY},
                              {3600, UDAT_REL_UNIT_HOUR},
                              {60, UDAT_REL_UNIT_MINUTE},
                              {1, UDAT_REL_UNIT_SECOND}};
    Unit chosen = units[6];
    for (const Unit& unit : units) {
        if (magnitude >= unit.length) {
            chosen = unit;
            break;
        }
    }
    const double count = std::floor(magnitude / chosen.length) * (seconds < 0 ? -1 : 1);

    UErrorCode status = U_ZERO_ERROR;
    // The C and POSIX locales have no words of their own: ICU would fall back to bare
    // abbreviations or plural-less English ("1 minutes ago"), so they read as English.
    const QLocale system = QLocale::system();
    const QString name = system.language() == QLocale::C ? u"en"_s : system.name();
    const icu::Locale locale(name.toUtf8().constData());
    icu::RelativeDateTimeFormatter formatter(locale, nullptr, UDAT_STYLE_LONG, UDISPCTX_CAPITALIZATION_NONE, status);
    if (U_FAILURE(status))
        return {};
    icu::UnicodeString text;
    formatter.formatNumeric(count, chosen.unit, text, status);
    if (U_FAILURE(status))
        return {};
    std::string utf8;
    text.toUTF8String(utf8);
    return QString::fromStdString(utf8);
}

} // namespace RelativeTime
