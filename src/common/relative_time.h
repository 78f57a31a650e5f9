#pragma once

#include <QDateTime>
#include <QString>

// "2 days ago", "in 3 hours": a moment relative to another, in the user's language, in full
// units, with the largest unit that fits.
namespace RelativeTime {

QString format(const QDateTime& moment, const QDateTime& now);

} // namespace RelativeTime
