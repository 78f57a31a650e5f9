#pragma once

#include "model/category.h"
#include "model/decision.h"
#include "model/scanned_item.h"

#include <QList>
#include <QStringView>

#include <optional>

// Where an item goes when no model is asked: a folder of the tree chosen from its kind, its junk
// hints and its name. Used for everything the fixed rules leave open.
namespace KindSorting {

// What a row asks of an item beyond its kind.
enum class Match : quint8 {
    any,
    extension, // one of the row's extensions
    screenshotName, // the scan's screenshot hint
    cameraName, // named as cameras and phones name their pictures
    installerHint, // an installer the person keeps
};

// One line of the table. The first row that takes an item decides it.
struct Row
{
    FileKind kind;
    Match match;
    QStringView extensions; // blank-separated, lower case; only for `Match::extension`
    Category::Kind category; // `needsYou` for an item no kind tells about
    QStringView sub; // a folder of the category's own list; empty for archive and needs-you
    const char* label; // what the kind is, shown after "Sorted by kind: "; null: it stays put
};

const QList<Row>& rows();

// The decision for an item the rules left open: medium confidence, the category and folder of
// its row, and a reason naming the kind. Nothing for an item that stays where it is (an
// application, a project, a desktop launcher).
std::optional<Decision> decide(const ScannedItem& item);

// The reason given to an item whose kind says nothing about where it belongs.
QString unknownReason();

// Whether `name` is how cameras and phones name their pictures and clips ("IMG_1234.JPG").
bool isCameraName(const QString& name);

} // namespace KindSorting
