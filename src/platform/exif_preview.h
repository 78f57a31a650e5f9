#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

// The small JPEG that cameras and phones store beside a photo in its Exif block (the second
// image directory), found from the file's first bytes without decoding the photo itself.
namespace ExifPreview {

// The Exif block sits in the first segment after the start of the image, and a segment holds
// at most 64 KiB.
constexpr qsizetype kHeadBytes = 65536 + 4;

// The stored preview's JPEG bytes, from the head of a JPEG file; nothing when there is none or
// the block is damaged. Every offset is checked: the bytes come from files of any origin.
std::optional<QByteArray> jpegThumbnail(QByteArrayView head);

} // namespace ExifPreview
