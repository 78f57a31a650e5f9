#pragma once

#include "model/decision.h"
#include "model/profile.h"
#include "model/scanned_item.h"

#include <QHash>
#include <QString>

// The words of a sorting request and the reading of its reply: a contract with the model, so
// every text here is exact.
namespace Prompt {

// The sorting system prompt: the person's projects, the categories and sub-folders, and their
// own past corrections.
QString system(const Profile& profile);
// The last 40 lessons as examples to follow, or the empty text.
QString lessonsText();
// One item as a one-line JSON object.
QString describe(const ScannedItem& item);
// The user turn of a text batch.
QString textBatch(const QList<ScannedItem>& items);
// The user turn that goes with a contact sheet, one numbered line per tile.
QString sheetListing(const QList<ScannedItem>& items);
// One decision per item id found in the reply's JSON array; nothing for a reply without one.
QHash<qint64, Decision> parse(const QString& reply);

constexpr int kMaxLessons = 40;
constexpr int kDescribedTextCharacters = 450;

} // namespace Prompt
