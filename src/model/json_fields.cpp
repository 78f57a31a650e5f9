#include "json_fields.h"

#include "iso_date.h"

#include <cmath>

JsonFields::JsonFields(const QJsonObject& object)
    : m_object(object)
{ }

QJsonValue JsonFields::required(QLatin1StringView key, QJsonValue::Type type)
{
    const QJsonValue value = m_object.value(key);
    if (value.type() != type) {
        m_ok = false;
        return {};
    }
    return value;
}

QString JsonFields::text(QLatin1StringView key)
{
    return required(key, QJsonValue::String).toString();
}

bool JsonFields::boolean(QLatin1StringView key)
{
    return required(key, QJsonValue::Bool).toBool();
}

qint64 JsonFields::integer(QLatin1StringView key)
{
    const std::optional<qint64> number = wholeNumber(m_object.value(key));
    if (!number)
        m_ok = false;
    return number.value_or(0);
}

QDateTime JsonFields::date(QLatin1StringView key)
{
    const std::optional<QDateTime> moment = IsoDate::parse(required(key, QJsonValue::String).toString());
    if (!moment)
        m_ok = false;
    return moment.value_or(QDateTime());
}

QJsonArray JsonFields::array(QLatin1StringView key)
{
    return required(key, QJsonValue::Array).toArray();
}

std::optional<QString> JsonFields::optionalText(QLatin1StringView key)
{
    const QJsonValue value = m_object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    if (!value.isString()) {
        m_ok = false;
        return std::nullopt;
    }
    return value.toString();
}

std::optional<QDateTime> JsonFields::optionalDate(QLatin1StringView key)
{
    const QJsonValue value = m_object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    std::optional<QDateTime> moment = value.isString() ? IsoDate::parse(value.toString()) : std::nullopt;
    if (!moment)
        m_ok = false;
    return moment;
}

void JsonFields::fail()
{
    m_ok = false;
}

bool JsonFields::ok() const
{
    return m_ok;
}

std::optional<qint64> JsonFields::wholeNumber(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    // Integers written as integers keep all 64 bits; the double path only serves texts like 2.0.
    const QVariant variant = value.toVariant();
    if (variant.typeId() == QMetaType::LongLong)
        return variant.toLongLong();
    const double number = value.toDouble();
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!std::isfinite(number) || std::trunc(number) != number || number >= limit || number < -limit)
        return std::nullopt;
    return static_cast<qint64>(number);
}
