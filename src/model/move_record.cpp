#include "move_record.h"

#include "iso_date.h"
#include "json_fields.h"

using namespace Qt::Literals::StringLiterals;

QJsonObject MoveRecord::toJson() const
{
    return {{"from"_L1, from}, {"to"_L1, to}, {"at"_L1, IsoDate::format(at)}};
}

std::optional<MoveRecord> MoveRecord::fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    JsonFields fields(value.toObject());
    const MoveRecord record = MoveRecord::of(fields.text("from"_L1), fields.text("to"_L1), fields.date("at"_L1));
    if (!fields.ok())
        return std::nullopt;
    return record;
}
