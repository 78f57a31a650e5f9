#pragma once

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>

#include <optional>

// Strict reading of one JSON object's members. A required member that is missing or of the
// wrong type marks the whole object as not decodable; optional members may be absent or null.
// Callers read every member they need and then ask ok() once.
class JsonFields
{
public:
    explicit JsonFields(const QJsonObject& object);

    QString text(QLatin1StringView key);
    bool boolean(QLatin1StringView key);
    qint64 integer(QLatin1StringView key);
    QDateTime date(QLatin1StringView key);
    QJsonArray array(QLatin1StringView key);
    std::optional<QString> optionalText(QLatin1StringView key);
    std::optional<QDateTime> optionalDate(QLatin1StringView key);

    // Marks the object as not decodable for a reason only the caller can see.
    void fail();
    bool ok() const;

    // A JSON number that is a whole number representable in 64 bits; 2.0 counts, 2.5 does not.
    static std::optional<qint64> wholeNumber(const QJsonValue& value);

private:
    QJsonValue required(QLatin1StringView key, QJsonValue::Type type);

    QJsonObject m_object;
    bool m_ok = true;
};
