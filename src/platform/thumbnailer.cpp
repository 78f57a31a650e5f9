#include "thumbnailer.h"

#include "camera_photos.h"
#include "exif_preview.h"
#include "file_io.h"
#include "pdf_documents.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QStandardPaths>
#include <QTransform>
#include <QUrl>

#include <libffmpegthumbnailer/videothumbnailerc.h>
#include <poppler-qt6.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <memory>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace Thumbnailer {

namespace {

constexpr qint64 kMaxThumbnailBytes = 16 * 1024 * 1024;

constexpr std::pair<const char16_t*, int> kSizes[]
    = {{u"normal", 128}, {u"large", 256}, {u"x-large", 512}, {u"xx-large", 1024}};

QString thumbnailRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/thumbnails"_s;
}

QByteArray fileUri(const QString& path)
{
    return QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toEncoded();
}

QString entryName(const QByteArray& uri)
{
    return QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) + u".png"_s;
}

// `image` turned the way a reader with automatic transformation turns the photo: mirrored or
// flipped first, then rotated clockwise.
QImage oriented(QImage image, QImageIOHandler::Transformations transformation)
{
    image = image.mirrored(transformation.testFlag(QImageIOHandler::TransformationMirror),
                           transformation.testFlag(QImageIOHandler::TransformationFlip));
    if (transformation.testFlag(QImageIOHandler::TransformationRotate90))
        image = image.transformed(QTransform().rotate(90));
    return image;
}

// The preview a camera stored in the photo's Exif block, at `wanted` (the photo's size before
// rotation, fitted to the box), when it covers that size and shows the whole photo: a preview
// of another shape was made before a crop, or carries bars.
QImage storedPreview(const QString& path, QSize full, QSize wanted)
{
    const std::optional<QByteArray> head = FileIo::readHead(path, ExifPreview::kHeadBytes);
    const std::optional<QByteArray> jpeg = head ? ExifPreview::jpegThumbnail(*head) : std::nullopt;
    if (!jpeg)
        return {};
    const QImage preview = QImage::fromData(*jpeg, "JPEG");
    if (preview.isNull() || preview.width() < wanted.width() || preview.height() < wanted.height())
        return {};
    const double shape = double(full.width()) / full.height();
    const double previewShape = double(preview.width()) / preview.height();
    if (std::abs(previewShape - shape) > 0.02 * shape)
        return {};
    return preview.scaled(wanted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QImage fromImageFile(const QString& path, QSize box)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    if (full.isValid() && (full.width() > box.width() || full.height() > box.height())) {
        // Decoding straight at the small size lets JPEG skip most of the work, and a preview the
        // camera stored skips all of it. The reader's size is before rotation, so the box is
        // turned with the picture.
        const bool turned = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
        const QSize wanted = full.scaled(turned ? box.transposed() : box, Qt::KeepAspectRatio);
        if (reader.format() == "jpeg") {
            const QImage preview = storedPreview(path, full, wanted);
            if (!preview.isNull())
                return oriented(preview, reader.transformation());
        }
        reader.setScaledSize(wanted);
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
    const std::unique_ptr<Poppler::Document> document = PdfDocuments::open(path);
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

// CRC-32 as PNG chunks carry it (reflected, polynomial 0xEDB88320, inverted before and after).
quint32 pngCrc(const QByteArray& bytes)
{
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> entries {};
        for (quint32 n = 0; n < 256; ++n) {
            quint32 c = n;
            for (int bit = 0; bit < 8; ++bit)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            entries[n] = c;
        }
        return entries;
    }();
    quint32 crc = 0xFFFFFFFFu;
    for (const char byte : bytes)
        crc = table[(crc ^ quint8(byte)) & 0xFFu] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFu;
}

QByteArray pngTextChunk(const QByteArray& key, const QByteArray& value)
{
    const QByteArray body = QByteArray("tEXt") + key + '\0' + value;
    QByteArray chunk;
    const quint32 length = quint32(body.size() - 4);
    for (const int shift : {24, 16, 8, 0})
        chunk.append(char(length >> shift));
    chunk.append(body);
    const quint32 crc = pngCrc(body);
    for (const int shift : {24, 16, 8, 0})
        chunk.append(char(crc >> shift));
    return chunk;
}

// The thumbnail folders tell what the person has looked at, so only they may list them. A
// folder that already exists keeps the permissions its owner gave it.
bool makePrivateFolder(const QString& path)
{
    return ::mkdir(QFile::encodeName(path).constData(), S_IRWXU) == 0 || errno == EEXIST;
}

// The signature and the header chunk, which every PNG starts with.
constexpr qsizetype kPngAfterHeader = 8 + 4 + 4 + 13 + 4;

// `image` within `limit` pixels as a PNG with no text chunks at all.
std::optional<QByteArray> plainPng(const QImage& image, int limit)
{
    QImage scaled = image.width() > limit || image.height() > limit
        ? image.scaled(limit, limit, Qt::KeepAspectRatio, Qt::SmoothTransformation)
        : image;
    if (scaled.format() != QImage::Format_ARGB32 && scaled.format() != QImage::Format_RGB32)
        scaled = scaled.convertToFormat(scaled.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    // A view of the pixels without the text the source carried (a camera comment, another
    // thumbnail's keys), which the PNG writer would otherwise copy.
    const QImage pixels(scaled.constBits(), scaled.width(), scaled.height(), scaled.bytesPerLine(), scaled.format());
    QByteArray png;
    QBuffer buffer(&png);
    if (!buffer.open(QIODevice::WriteOnly) || !pixels.save(&buffer, "PNG") || png.size() < kPngAfterHeader
        || png.mid(12, 4) != "IHDR")
        return std::nullopt;
    return png;
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
    const QString name = entryName(fileUri(path));
    const QString root = thumbnailRoot() + u'/';
    for (const auto& [folder, side] : kSizes) {
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
    // A file replaced by a pipe since the scan would block the reader until someone writes.
    struct stat info
    { };
    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || !S_ISREG(info.st_mode))
        return {};
    QImage image = cached(path, std::max(box.width(), box.height()));
    if (!image.isNull())
        return image.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == u"pdf")
        image = fromPdf(path, box);
    else if (isVideo(suffix))
        image = fromVideo(path, box);
    else if (CameraPhotos::handles(suffix))
        image = CameraPhotos::thumbnail(path, box);
    // A photo whose name promises one format and holds another is still worth a try.
    if (image.isNull())
        image = fromImageFile(path, box);
    return image;
}

std::optional<QSize> imageSize(const QString& path)
{
    if (CameraPhotos::handles(QFileInfo(path).suffix().toLower())) {
        if (const std::optional<QSize> size = CameraPhotos::pixelSize(path))
            return size;
    }
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QSize size = reader.size();
    if (!size.isValid())
        return std::nullopt;
    return reader.transformation().testFlag(QImageIOHandler::TransformationRotate90) ? size.transposed() : size;
}

bool hasReaderFor(const QString& path)
{
    // The plugins are found once per process; asking again walks them all.
    static const QList<QByteArray> formats = QImageReader::supportedImageFormats();
    const QString suffix = QFileInfo(path).suffix().toLower();
    return CameraPhotos::handles(suffix) || formats.contains(suffix.toLatin1())
        || !QImageReader::imageFormat(path).isEmpty();
}

bool store(const QString& path, const QImage& image, qint64 modifiedSeconds, int side)
{
    const QString root = thumbnailRoot();
    const QFileInfo file(path);
    const QString canonicalRoot = QFileInfo(root).canonicalFilePath();
    // A thumbnail of a thumbnail would grow the cache each time someone browses it.
    if (image.isNull() || file.absoluteFilePath().startsWith(root + u'/')
        || (!canonicalRoot.isEmpty() && file.canonicalFilePath().startsWith(canonicalRoot + u'/')))
        return false;
    const auto* size = std::find_if(
        std::begin(kSizes), std::end(kSizes), [side](const auto& entry) { return side <= entry.second; });
    if (size == std::end(kSizes))
        --size;
    const QString folder = root + u'/' + QString::fromUtf16(size->first);
    if (!QDir().mkpath(QFileInfo(root).absolutePath()) || !makePrivateFolder(root) || !makePrivateFolder(folder))
        return false;

    std::optional<QByteArray> png = plainPng(image, size->second);
    if (!png)
        return false;
    // Qt's writer stores long values compressed, which our own reader above skips and other
    // readers need not understand, so the keys go in by hand as plain text after the header.
    const QByteArray uri = fileUri(path);
    png->insert(kPngAfterHeader,
                pngTextChunk("Thumb::URI", uri) + pngTextChunk("Thumb::MTime", QByteArray::number(modifiedSeconds)));
    return FileIo::writeAtomic(folder + u'/' + entryName(uri), *png);
}

} // namespace Thumbnailer
