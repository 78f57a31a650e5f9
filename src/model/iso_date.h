#pragma once

#include <QDateTime>

#include <optional>

// Dates in our files: ISO 8601 in UTC with whole seconds and a "Z", e.g. 2026-03-01T09:00:12Z.
namespace IsoDate {
QString format(const QDateTime& moment);
// Accepts a date and time with seconds and an explicit zone ("Z" or an offset such as +02:00);
// fractions of a second are dropped. A date without a zone is ambiguous and is refused.
std::optional<QDateTime> parse(QStringView text);
} // namespace IsoDate
