#pragma once

#include <QString>

#include <optional>

// How one item was classified, by the model or by a rule. Never stored.
struct Decision
{
    // "project:<name>", "creator", "personal", "admin", "library", "archive", "junk",
    // "needs-you", or "duplicate" (rules only)
    QString category;
    std::optional<QString> sub;
    QString confidence; // "high", "medium" or "low"
    std::optional<QString> newName; // without extension
    QString reason;
    std::optional<QString> projectHint;

    bool operator==(const Decision&) const = default;
};
