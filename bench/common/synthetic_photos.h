#pragma once

#include <QByteArray>
#include <QImage>

// Photo-like pictures for the benchmarks: a gradient with grain, so that JPEG sizes and decode
// times resemble a camera's, and cheap unique copies of one encoded picture.
namespace SyntheticPhotos {

QImage photoLike(int width, int height, quint32 seed);
QByteArray encoded(const QImage& image, const char* format, int quality);
// A copy of a JPEG made unique in its first bytes by a comment segment after the start marker,
// padded by `padding` bytes so that copies also differ in size.
QByteArray uniqueJpeg(const QByteArray& jpeg, const QByteArray& tag, int padding = 0);

} // namespace SyntheticPhotos
