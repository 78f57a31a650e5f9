#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QImage>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

// Real files of real formats for tests: documents, images, archives, attributes and times.
namespace FileFactory {

// Writes `bytes` to `path`, creating folders on the way.
void write(const QString& path, const QByteArray& bytes);
// A zip container with the given entries, stored in this order.
void zip(const QString& path, const QList<QPair<QString, QByteArray>>& entries);
// A PDF with one page per text. Needs a QGuiApplication.
void pdf(const QString& path, const QStringList& pageTexts);
// A PNG of the given pixel size, padded after its end marker to `totalBytes` when larger.
void png(const QString& path, int width, int height, qint64 totalBytes = 0);
// A JPEG of noise, about as large as a camera's at that size.
void jpeg(const QString& path, int width, int height);
// `photo` (JPEG bytes) carrying `preview` (JPEG bytes) in its Exif block, as cameras and phones
// write it: the first directory holds the orientation, the second points at the preview.
QByteArray
withStoredPreview(const QByteArray& photo, const QByteArray& preview, bool littleEndian, quint16 orientation = 1);
// Saves `image` as PNG with a text chunk, written the way desktop thumbnailers write them
// (QImage's own text support cannot store keys with colons such as "Thumb::MTime").
void pngWithText(const QString& path, const QImage& image, const QByteArray& key, const QByteArray& value);
void setModified(const QString& path, const QDateTime& moment);
// What a file holds, or "<missing>" when it cannot be read, so that comparisons name the trouble.
QByteArray contents(const QString& path);
// The permission bits of `path`, or -1 when it is not there.
int mode(const QString& path);
void setOriginAttribute(const QString& path, const QByteArray& value);

} // namespace FileFactory
