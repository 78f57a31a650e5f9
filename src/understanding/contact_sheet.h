#pragma once

#include "model/scanned_item.h"

#include <QByteArray>
#include <QImage>
#include <QList>

#include <optional>

// A numbered grid of thumbnails, one JPEG, so the model sees a whole batch of images at once.
// Each tile is labelled "#n name" to match the listing sent with it.
namespace ContactSheet {

constexpr int kColumns = 5;
constexpr int kCell = 260;
constexpr int kWidth = kColumns * kCell;
constexpr int kFetchesInFlight = 5;
constexpr int kJpegQuality = 72;

// The sheet as JPEG bytes; nothing when it cannot be drawn or encoded. Several sheets may be
// made at once from different threads.
std::optional<QByteArray> make(const QList<ScannedItem>& items);
// The sheet before encoding, for a given set of thumbnails (null images draw "no preview").
QImage draw(const QList<ScannedItem>& items, const QList<QImage>& thumbnails);

} // namespace ContactSheet
