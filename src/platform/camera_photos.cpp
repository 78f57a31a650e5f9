#include "camera_photos.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QSet>
#include <QTransform>

#include <libheif/heif.h>
#include <libraw/libraw.h>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace CameraPhotos {

namespace {

bool isHeif(const QString& suffix)
{
    static const QSet<QString> heif {u"heic"_s, u"heif"_s, u"avif"_s, u"hif"_s};
    return heif.contains(suffix);
}

bool isRaw(const QString& suffix)
{
    static const QSet<QString> raw {u"raw"_s, u"cr2"_s, u"cr3"_s, u"nef"_s, u"arw"_s, u"dng"_s};
    return raw.contains(suffix);
}

QString suffixOf(const QString& path)
{
    return path.section(u'/', -1).section(u'.', -1).toLower();
}

struct HeifContextDeleter
{
    void operator()(heif_context* context) const
    {
        heif_context_free(context);
    }
};
struct HeifHandleDeleter
{
    void operator()(heif_image_handle* handle) const
    {
        heif_image_handle_release(handle);
    }
};
struct HeifImageDeleter
{
    void operator()(heif_image* image) const
    {
        heif_image_release(image);
    }
};
using HeifContext = std::unique_ptr<heif_context, HeifContextDeleter>;
using HeifHandle = std::unique_ptr<heif_image_handle, HeifHandleDeleter>;
using HeifImage = std::unique_ptr<heif_image, HeifImageDeleter>;

struct OpenHeif
{
    HeifContext context;
    HeifHandle primary;
};

std::optional<OpenHeif> openHeif(const QString& path)
{
    OpenHeif heif {HeifContext(heif_context_alloc()), nullptr};
    if (!heif.context
        || heif_context_read_from_file(heif.context.get(), QFile::encodeName(path).constData(), nullptr).code
            != heif_error_Ok)
        return std::nullopt;
    heif_image_handle* primary = nullptr;
    if (heif_context_get_primary_image_handle(heif.context.get(), &primary).code != heif_error_Ok)
        return std::nullopt;
    heif.primary.reset(primary);
    return heif;
}

bool covers(QSize picture, QSize box)
{
    return picture.width() >= box.width() || picture.height() >= box.height();
}

QImage decodeHeif(heif_image_handle* handle)
{
    heif_image* decoded = nullptr;
    if (heif_decode_image(handle, &decoded, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr).code
        != heif_error_Ok)
        return {};
    const HeifImage image(decoded);
    int stride = 0;
    const uint8_t* pixels = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    if (!pixels || width <= 0 || height <= 0)
        return {};
    // The pixels belong to libheif's image, released on return: the copy keeps them.
    return QImage(pixels, width, height, stride, QImage::Format_RGBA8888).copy();
}

QImage heifThumbnail(const QString& path, QSize box)
{
    const std::optional<OpenHeif> heif = openHeif(path);
    if (!heif)
        return {};
    // Phones store a small picture beside the photo; decoding it is far cheaper than the
    // full image, which libheif can only decode at its own size.
    const int count = heif_image_handle_get_number_of_thumbnails(heif->primary.get());
    std::vector<heif_item_id> ids(size_t(std::max(count, 0)));
    heif_image_handle_get_list_of_thumbnail_IDs(heif->primary.get(), ids.data(), count);
    HeifHandle best;
    for (const heif_item_id id : ids) {
        heif_image_handle* candidate = nullptr;
        if (heif_image_handle_get_thumbnail(heif->primary.get(), id, &candidate).code != heif_error_Ok)
            continue;
        HeifHandle thumbnail(candidate);
        const QSize size(heif_image_handle_get_width(candidate), heif_image_handle_get_height(candidate));
        if (covers(size, box) && (!best || size.width() < heif_image_handle_get_width(best.get())))
            best = std::move(thumbnail);
    }
    const QImage image = decodeHeif(best ? best.get() : heif->primary.get());
    return image.isNull() ? image : image.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

// The quarter turns of libraw's `flip`: 3 half a turn, 5 a quarter to the left, 6 to the right.
QImage turned(const QImage& image, int flip)
{
    const int degrees = flip == 3 ? 180 : flip == 5 ? 270 : flip == 6 ? 90 : 0;
    return degrees == 0 ? image : image.transformed(QTransform().rotate(degrees));
}

QImage rawThumbnail(const QString& path, QSize box)
{
    const auto raw = std::make_unique<LibRaw>();
    if (raw->open_file(QFile::encodeName(path).constData()) != LIBRAW_SUCCESS || raw->unpack_thumb() != LIBRAW_SUCCESS)
        return {};
    int error = 0;
    libraw_processed_image_t* made = raw->dcraw_make_mem_thumb(&error);
    if (!made)
        return {};
    const std::unique_ptr<libraw_processed_image_t, void (*)(libraw_processed_image_t*)> preview(
        made, [](libraw_processed_image_t* image) { LibRaw::dcraw_clear_mem(image); });
    QImage image;
    if (preview->type == LIBRAW_IMAGE_JPEG) {
        QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(preview->data), preview->data_size);
        QBuffer buffer(&bytes);
        QImageReader reader(&buffer, "jpeg");
        // libraw's flip is the one truth about orientation; the preview's own tag may repeat it.
        reader.setAutoTransform(false);
        const QSize full = reader.size();
        const bool sideways = raw->imgdata.sizes.flip == 5 || raw->imgdata.sizes.flip == 6;
        if (full.isValid() && !box.isEmpty())
            reader.setScaledSize(full.scaled(sideways ? box.transposed() : box, Qt::KeepAspectRatio).boundedTo(full));
        image = reader.read();
    } else if (preview->type == LIBRAW_IMAGE_BITMAP && preview->colors == 3 && preview->bits == 8) {
        image
            = QImage(preview->data, preview->width, preview->height, preview->width * 3, QImage::Format_RGB888).copy();
    }
    if (image.isNull())
        return image;
    return turned(image, raw->imgdata.sizes.flip).scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

bool handles(const QString& suffix)
{
    return isHeif(suffix) || isRaw(suffix);
}

std::optional<QSize> pixelSize(const QString& path)
{
    const QString suffix = suffixOf(path);
    if (isHeif(suffix)) {
        const std::optional<OpenHeif> heif = openHeif(path);
        if (!heif)
            return std::nullopt;
        const QSize size(heif_image_handle_get_width(heif->primary.get()),
                         heif_image_handle_get_height(heif->primary.get()));
        return size.isValid() && !size.isEmpty() ? std::optional(size) : std::nullopt;
    }
    if (isRaw(suffix)) {
        const auto raw = std::make_unique<LibRaw>();
        if (raw->open_file(QFile::encodeName(path).constData()) != LIBRAW_SUCCESS)
            return std::nullopt;
        const QSize size(raw->imgdata.sizes.width, raw->imgdata.sizes.height);
        if (size.isEmpty())
            return std::nullopt;
        const int flip = raw->imgdata.sizes.flip;
        return flip == 5 || flip == 6 ? size.transposed() : size;
    }
    return std::nullopt;
}

QImage thumbnail(const QString& path, QSize box)
{
    const QString suffix = suffixOf(path);
    if (isHeif(suffix))
        return heifThumbnail(path, box);
    if (isRaw(suffix))
        return rawThumbnail(path, box);
    return {};
}

} // namespace CameraPhotos
