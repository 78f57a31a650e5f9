#include "lesson.h"

#include "json_fields.h"

using namespace Qt::Literals::StringLiterals;

QJsonObject Lesson::toJson() const
{
    return {{"name"_L1, name}, {"what"_L1, what}, {"dest"_L1, dest}};
}

std::optional<Lesson> Lesson::fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    JsonFields fields(value.toObject());
    Lesson lesson {fields.text("name"_L1), fields.text("what"_L1), fields.text("dest"_L1)};
    if (!fields.ok())
        return std::nullopt;
    return lesson;
}
