#pragma once

#include <QImage>
#include <QSize>
#include <QString>

#include <optional>

// A small picture of a file: the desktop's own fresh thumbnail when there is one, otherwise
// made here from the file (images decoded at reduced size, phone and camera photos from their
// stored previews, the frame of a video, the first page of a PDF). Safe to call from many threads at once.
namespace Thumbnailer {

// A picture that fits in `box`, or a null image when the file has none to give.
QImage thumbnail(const QString& path, QSize box = QSize(250, 220));

// An image's size in pixels as shown, from its header without decoding it; nothing when the
// file cannot be read.
std::optional<QSize> imageSize(const QString& path);
// Whether this build has a reader for the image format the file's name or its first bytes
// announce, whether or not this file turns out readable.
bool hasReaderFor(const QString& path);

// The desktop's cached thumbnail (freedesktop layout under ~/.cache/thumbnails), only when it
// records the file's current modification time.
QImage cached(const QString& path, int minimumSide);

// Leaves `image` in the desktop's thumbnail cache for `path`, in the size folder for `side`
// (128, 256, 512 or 1024), recording `modifiedSeconds` as the file's modification time: the
// time seen before the picture was made, so a file changed meanwhile reads as stale. Nothing is
// written for files inside the thumbnail cache itself. Returns whether the entry landed.
bool store(const QString& path, const QImage& image, qint64 modifiedSeconds, int side);

} // namespace Thumbnailer
