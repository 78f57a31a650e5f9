#pragma once

#include "category.h"
#include "confidence.h"

#include <QHash>
#include <QString>

#include <optional>

// Who made a decision. Merging the rules' and the model's answers asks this, never the reason,
// which is only ever shown to the person.
enum class Provenance : quint8 {
    junkRule, // the scan's junk hints
    keywordRule, // a known project named in the item
    protectedKind, // a kind of file never set aside as junk
    model,
    secondLook, // the stronger model, asked again about what the first was unsure of
    unanswered, // the reply left the item out
    failed, // the batch's request failed or its answer could not be read
    noPreview, // no contact sheet could be drawn, so nothing was asked
    kindTable, // sorted by its kind and name alone, with no model at all
    userRule, // one of the rules the person stated
};

// How one item was classified, by the model or by a rule. Never stored.
struct Decision
{
    Category category;
    std::optional<QString> sub;
    Confidence confidence;
    std::optional<QString> newName; // without extension
    QString reason;
    std::optional<QString> projectHint;
    Provenance provenance = Provenance::model;
    std::optional<QString> rule = std::nullopt; // the id of the person's own rule that made it

    bool operator==(const Decision&) const = default;
};

// Decisions by item id.
using Decisions = QHash<qint64, Decision>;
