#include "usage_log.h"

#include "model/iso_date.h"
#include "model/json_fields.h"

#include <QJsonArray>

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<double> number(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    return value.isDouble() ? std::optional(value.toDouble()) : std::nullopt;
}

} // namespace

QJsonObject UsageLog::toJson() const
{
    QJsonObject monthObject;
    for (auto it = months.cbegin(); it != months.cend(); ++it)
        monthObject.insert(it.key(), QJsonObject {{"usd"_L1, it->usd}, {"files"_L1, it->files}});
    QJsonArray runArray;
    for (const RunUsage& run : runs) {
        runArray.append(QJsonObject {{"date"_L1, IsoDate::format(run.date)},
                                     {"usd"_L1, run.usd},
                                     {"files"_L1, run.files},
                                     {"calls"_L1, run.calls}});
    }
    return {{"totalUSD"_L1, totalUSD}, {"months"_L1, monthObject}, {"runs"_L1, runArray}};
}

std::optional<UsageLog> UsageLog::fromJson(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    const std::optional<double> total = number(object, "totalUSD"_L1);
    if (!value.isObject() || !total || !object.value("months"_L1).isObject() || !object.value("runs"_L1).isArray())
        return std::nullopt;
    UsageLog log;
    log.totalUSD = *total;
    const QJsonObject months = object.value("months"_L1).toObject();
    for (auto it = months.begin(); it != months.end(); ++it) {
        const QJsonObject entry = it.value().toObject();
        const std::optional<double> usd = number(entry, "usd"_L1);
        const std::optional<qint64> files = JsonFields::wholeNumber(entry.value("files"_L1));
        if (!usd || !files)
            return std::nullopt;
        log.months.insert(it.key(), MonthUsage {*usd, *files});
    }
    for (const QJsonValue& entry : object.value("runs"_L1).toArray()) {
        JsonFields fields(entry.toObject());
        RunUsage run;
        run.date = fields.date("date"_L1);
        run.files = fields.integer("files"_L1);
        run.calls = fields.integer("calls"_L1);
        const std::optional<double> usd = number(entry.toObject(), "usd"_L1);
        if (!entry.isObject() || !usd || !fields.ok())
            return std::nullopt;
        run.usd = *usd;
        log.runs.append(run);
    }
    return log;
}
