#pragma once

#include <QImage>
#include <QSize>
#include <QString>

#include <optional>

// Photos from phones (HEIC/HEIF, AVIF, read with libheif) and cameras (RAW, through the preview
// the camera embedded, read with libraw): formats Qt's image plugins on Linux cannot read.
namespace CameraPhotos {

// Whether `suffix` (lower case) names one of these formats.
bool handles(const QString& suffix);

// The picture's size as shown, from the file's header alone; nothing when it cannot be read.
std::optional<QSize> pixelSize(const QString& path);

// A picture that fits in `box`, from the smallest stored picture that is large enough (a HEIF
// thumbnail, the RAW preview) before the full image; a null image when there is none.
QImage thumbnail(const QString& path, QSize box);

} // namespace CameraPhotos
