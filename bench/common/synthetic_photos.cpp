#include "synthetic_photos.h"

#include <QBuffer>
#include <QRandomGenerator>

namespace SyntheticPhotos {

QImage photoLike(int width, int height, quint32 seed)
{
    QImage image(width, height, QImage::Format_RGB32);
    QRandomGenerator random(seed);
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<quint32*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int base = (x * 255 / width + y * 255 / height) / 2;
            const int grain = int(random.bounded(48));
            line[x] = qRgb(std::min(255, base + grain), std::min(255, 90 + grain), std::min(255, 255 - base + grain));
        }
    }
    return image;
}

QByteArray encoded(const QImage& image, const char* format, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, quality);
    return bytes;
}

QByteArray uniqueJpeg(const QByteArray& jpeg, const QByteArray& tag, int padding)
{
    QByteArray comment = tag + QByteArray(padding, ' ');
    comment.truncate(65000);
    const quint16 length = quint16(comment.size() + 2);
    QByteArray segment("\xFF\xFE", 2);
    segment.append(char(length >> 8)).append(char(length & 0xff)).append(comment);
    return jpeg.left(2) + segment + jpeg.mid(2);
}

} // namespace SyntheticPhotos
