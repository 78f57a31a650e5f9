#include "thumbnailer.h"

#include "file_io.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QStandardPaths>
#include <QUrl>

#include <libffmpegthumbnailer/videothumbnailerc.h>
#include <poppler-qt6.h>

#include <memory>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace Thumbnailer {

namespace {

constexpr qint64 kMaxThumbnailBytes = 16 * 1024 * 1024;

QImage fromImageFile(const QString& path, QSize box)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    if (full.isValid() && (full.width() > box.width() || full.height() > box.height())) {
        // Decoding straight at the small size lets JPEG skip most of the work. The reader's size
        // is before rotation, so the box is turned with the picture.
        const bool turned = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
        reader.setScaledSize(full.scaled(turned ? box.transposed() : box, Qt::KeepAspectRatio));
    }
    return reader.read();
}

QImage fromVideo(const QString& path, QSize box)
{
    video_thumbnailer* thumbnailer = video_thumbnailer_create();
    image_data* data = video_thumbnailer_create_image_data();
    video_thumbnailer_set_size(thumbnailer, box.width(), 0);
    thumbnailer->thumbnail_image_type = Png;
    QImage image;
    if (video_thumbnailer_generate_thumbnail_to_buffer(thumbnailer, QFile::encodeName(path).constData(), data) == 0)
        image.loadFromData(data->image_data_ptr, data->image_data_size, "PNG");
    video_thumbnailer_destroy_image_data(data);
    video_thumbnailer_destroy(thumbnailer);
    return image.isNull() ? image : image.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QImage fromPdf(const QString& path, QSize box)
{
    const std::unique_ptr<Poppler::Document> document = Poppler::Document::load(path);
    if (!document || document->isLocked() || document->numPages() < 1)
        return {};
    const std::unique_ptr<Poppler::Page> page = document->page(0);
    if (!page)
        return {};
    const QSizeF points = page->pageSizeF();
    if (points.isEmpty())
        return {};
    const double dpi = 72.0 * std::min(box.width() / points.width(), box.height() / points.height());
    return page->renderToImage(dpi, dpi);
}

// The text of a PNG tEXt chunk. Read by hand: Qt's reader splits keys at the first colon, and
// the thumbnail keys are "Thumb::URI", "Thumb::MTime".
std::optional<QByteArray> pngText(const QByteArray& png, const QByteArray& key)
{
    qsizetype at = 8; // after the signature
    while (at + 12 <= png.size()) {
        const quint32 length = (quint32(quint8(png[at])) << 24) | (quint32(quint8(png[at + 1])) << 16)
            | (quint32(quint8(png[at + 2])) << 8) | quint32(quint8(png[at + 3]));
        const QByteArray type = png.mid(at + 4, 4);
        if (type == "IDAT" || length > quint32(png.size()))
            break;
        if (type == "tEXt") {
            const QByteArray data = png.mid(at + 8, length);
            const qsizetype zero = data.indexOf('\0');
            if (zero > 0 && data.left(zero) == key)
                return data.mid(zero + 1);
        }
        at += 12 + qsizetype(length);
    }
    return std::nullopt;
}

bool isVideo(const QString& suffix)
{
    static const QSet<QString> video {
        u"mov"_s, u"mp4"_s, u"m4v"_s, u"avi"_s, u"mkv"_s, u"webm"_s, u"wmv"_s, u"flv"_s, u"mts"_s, u"m2ts"_s, u"3gp"_s};
    return video.contains(suffix);
}

} // namespace

QImage cached(const QString& path, int minimumSide)
{
    struct stat info
    { };
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    const QByteArray uri = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toEncoded();
    const QString name
        = QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) + u".png"_s;
    const QString root = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/thumbnails/"_s;
    const std::pair<const char16_t*, int> sizes[]
        = {{u"normal", 128}, {u"large", 256}, {u"x-large", 512}, {u"xx-large", 1024}};
    for (const auto& [folder, side] : sizes) {
        if (side < minimumSide)
            continue;
        const std::optional<QByteArray> png
            = FileIo::readRegular(root + QString::fromUtf16(folder) + u'/' + name, kMaxThumbnailBytes);
        // A thumbnail of an older version of the file would show the wrong picture.
        if (!png || pngText(*png, "Thumb::MTime") != QByteArray::number(qint64(info.st_mtim.tv_sec)))
            continue;
        QImage image = QImage::fromData(*png, "PNG");
        if (!image.isNull())
            return image;
    }
    return {};
}

QImage thumbnail(const QString& path, QSize box)
{
    QImage image = cached(path, std::max(box.width(), box.height()));
    if (!image.isNull())
        return image.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == u"pdf")
        image = fromPdf(path, box);
    else if (isVideo(suffix))
        image = fromVideo(path, box);
    if (image.isNull())
        image = fromImageFile(path, box);
    return image;
}

} // namespace Thumbnailer
