#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QMap>

#include <optional>

// What one calendar month of refreshes cost.
struct MonthUsage
{
    double usd = 0;
    qint64 files = 0;

    bool operator==(const MonthUsage&) const = default;
};

// What one refresh cost, recorded when it ended.
struct RunUsage
{
    QDateTime date;
    double usd = 0;
    qint64 files = 0;
    qint64 calls = 0; // priced replies

    bool operator==(const RunUsage&) const = default;
};

// The cost history kept in "usage.json": the total, one entry per month ("yyyy-MM" in the
// person's time zone) and the most recent refreshes, oldest first.
struct UsageLog
{
    double totalUSD = 0;
    QMap<QString, MonthUsage> months;
    QList<RunUsage> runs;

    QJsonObject toJson() const;
    // Nothing unless every member is present and of its type.
    static std::optional<UsageLog> fromJson(const QJsonValue& value);

    bool operator==(const UsageLog&) const = default;
};
