#pragma once

#include <QHashFunctions>
#include <QString>

// How sure a decision is. A level the model or an import file invents is kept as read, so that
// a plan written back is unchanged; it is never taken for low.
class Confidence
{
public:
    enum Level : quint8 {
        high,
        medium,
        low,
        unknown,
    };

    Confidence(Level level = unknown);
    // Exact texts only: "Low" is not known.
    static Confidence fromText(const QString& text);

    QString text() const;
    Level level() const;

    bool operator==(const Confidence&) const = default;

private:
    Level m_level;
    QString m_text; // the unknown text as read
};

size_t qHash(const Confidence& confidence, size_t seed = 0);
