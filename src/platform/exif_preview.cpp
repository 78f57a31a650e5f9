#include "exif_preview.h"

namespace ExifPreview {

namespace {

// A view of the TIFF structure inside the Exif block, in the byte order it declares.
class Tiff
{
public:
    Tiff(QByteArrayView bytes, bool littleEndian)
        : m_bytes(bytes)
        , m_little(littleEndian)
    { }

    std::optional<quint32> u16(qsizetype at) const
    {
        if (at < 0 || at + 2 > m_bytes.size())
            return std::nullopt;
        const quint32 a = quint8(m_bytes[at]);
        const quint32 b = quint8(m_bytes[at + 1]);
        return m_little ? a | (b << 8) : (a << 8) | b;
    }
    std::optional<quint32> u32(qsizetype at) const
    {
        const std::optional<quint32> first = u16(at);
        const std::optional<quint32> second = u16(at + 2);
        if (!first || !second)
            return std::nullopt;
        return m_little ? *first | (*second << 16) : (*first << 16) | *second;
    }
    qsizetype size() const
    {
        return m_bytes.size();
    }
    QByteArrayView slice(qsizetype at, qsizetype length) const
    {
        return m_bytes.sliced(at, length);
    }

private:
    QByteArrayView m_bytes;
    bool m_little;
};

constexpr quint32 kThumbnailOffsetTag = 0x0201;
constexpr quint32 kThumbnailLengthTag = 0x0202;
constexpr quint32 kEntryBytes = 12;

// The TIFF structure of the Exif segment among the first segments of a JPEG.
std::optional<QByteArrayView> exifBlock(QByteArrayView head)
{
    if (head.size() < 4 || quint8(head[0]) != 0xFF || quint8(head[1]) != 0xD8)
        return std::nullopt;
    qsizetype at = 2;
    while (at + 4 <= head.size() && quint8(head[at]) == 0xFF) {
        const quint8 marker = quint8(head[at + 1]);
        const qsizetype length = (qsizetype(quint8(head[at + 2])) << 8) | quint8(head[at + 3]);
        // Application segments come first; anything else means the picture itself has begun.
        if (marker < 0xE0 || marker > 0xEF || length < 2)
            return std::nullopt;
        const QByteArrayView body = head.sliced(at + 4, std::min(length - 2, head.size() - at - 4));
        if (marker == 0xE1 && body.startsWith(QByteArrayView("Exif\0\0", 6)))
            return body.sliced(6);
        at += 2 + length;
    }
    return std::nullopt;
}

} // namespace

std::optional<QByteArray> jpegThumbnail(QByteArrayView head)
{
    const std::optional<QByteArrayView> block = exifBlock(head);
    if (!block || block->size() < 8)
        return std::nullopt;
    bool little = false;
    if (block->startsWith(QByteArrayView("II*\0", 4)))
        little = true;
    else if (!block->startsWith(QByteArrayView("MM\0*", 4)))
        return std::nullopt;
    const Tiff tiff(*block, little);

    // The first directory describes the photo; the one it points to, its preview.
    const std::optional<quint32> first = tiff.u32(4);
    const std::optional<quint32> firstCount = first ? tiff.u16(*first) : std::nullopt;
    if (!firstCount)
        return std::nullopt;
    const std::optional<quint32> second = tiff.u32(qsizetype(*first) + 2 + qsizetype(*firstCount) * kEntryBytes);
    if (!second || *second == 0)
        return std::nullopt;
    const std::optional<quint32> count = tiff.u16(*second);
    if (!count)
        return std::nullopt;
    std::optional<quint32> offset;
    std::optional<quint32> length;
    for (quint32 entry = 0; entry < *count; ++entry) {
        const qsizetype at = qsizetype(*second) + 2 + qsizetype(entry) * kEntryBytes;
        const std::optional<quint32> tag = tiff.u16(at);
        if (!tag)
            return std::nullopt;
        if (*tag == kThumbnailOffsetTag)
            offset = tiff.u32(at + 8);
        else if (*tag == kThumbnailLengthTag)
            length = tiff.u32(at + 8);
    }
    if (!offset || !length || *length < 4 || qsizetype(*offset) + qsizetype(*length) > tiff.size())
        return std::nullopt;
    const QByteArrayView preview = tiff.slice(*offset, *length);
    if (quint8(preview[0]) != 0xFF || quint8(preview[1]) != 0xD8)
        return std::nullopt;
    return preview.toByteArray();
}

} // namespace ExifPreview
