#include "file_factory.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QRandomGenerator>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <zip.h>
#include <zlib.h>

namespace FileFactory {

namespace {

template <typename T>
void putNumber(QByteArray& bytes, T value, bool little)
{
    for (int i = 0; i < int(sizeof(T)); ++i)
        bytes.append(char(little ? value >> (8 * i) : value >> (8 * (int(sizeof(T)) - 1 - i))));
}

[[noreturn]] void fail(const char* what, const QString& path)
{
    qFatal("FileFactory: %s failed for %s", what, qPrintable(path));
}
} // namespace

void write(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        fail("write", path);
}

void zip(const QString& path, const QList<QPair<QString, QByteArray>>& entries)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    int error = 0;
    zip_t* archive = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!archive)
        fail("zip_open", path);
    QList<QByteArray> keep; // libzip reads the buffers only when the archive is closed
    for (const auto& [name, content] : entries) {
        keep.append(content);
        zip_source_t* source = zip_source_buffer(archive, keep.last().constData(), keep.last().size(), 0);
        if (!source || zip_file_add(archive, name.toUtf8().constData(), source, ZIP_FL_ENC_UTF_8) < 0)
            fail("zip_file_add", path);
    }
    if (zip_close(archive) != 0)
        fail("zip_close", path);
}

void pdf(const QString& path, const QStringList& pageTexts)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QPdfWriter writer(path);
    QPainter painter(&writer);
    QFont font = painter.font();
    font.setPointSize(12);
    painter.setFont(font);
    for (qsizetype i = 0; i < pageTexts.size(); ++i) {
        if (i > 0)
            writer.newPage();
        painter.drawText(QRect(0, 0, writer.width(), writer.height()), Qt::TextWordWrap, pageTexts[i]);
    }
    painter.end();
}

void png(const QString& path, int width, int height, qint64 totalBytes)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(QColor(40, 120, 200));
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (!image.save(path, "PNG"))
        fail("png", path);
    const qint64 size = QFileInfo(path).size();
    if (totalBytes > size) {
        QFile file(path);
        file.open(QIODevice::Append);
        file.write(QByteArray(totalBytes - size, '\0'));
    }
}

QByteArray withStoredPreview(const QByteArray& photo, const QByteArray& preview, bool little, quint16 orientation)
{
    QByteArray tiff(little ? "II*\0" : "MM\0*", 4);
    putNumber<quint32>(tiff, 8, little);
    putNumber<quint16>(tiff, 1, little); // the photo's directory: one entry
    putNumber<quint16>(tiff, 0x0112, little);
    putNumber<quint16>(tiff, 3, little);
    putNumber<quint32>(tiff, 1, little);
    putNumber<quint16>(tiff, orientation, little);
    putNumber<quint16>(tiff, 0, little);
    putNumber<quint32>(tiff, 26, little);
    putNumber<quint16>(tiff, 2, little); // the preview's directory: where and how long
    for (const quint16 tag : {quint16(0x0201), quint16(0x0202)}) {
        putNumber<quint16>(tiff, tag, little);
        putNumber<quint16>(tiff, 4, little);
        putNumber<quint32>(tiff, 1, little);
        putNumber<quint32>(tiff, tag == 0x0201 ? 56 : quint32(preview.size()), little);
    }
    putNumber<quint32>(tiff, 0, little);
    tiff.append(preview);
    QByteArray segment("\xff\xe1");
    putNumber<quint16>(segment, quint16(2 + 6 + tiff.size()), false);
    segment.append(QByteArray("Exif\0\0", 6) + tiff);
    return photo.left(2) + segment + photo.mid(2);
}

void jpeg(const QString& path, int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    QRandomGenerator random(qHash(path));
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<quint32*>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            line[x] = random.generate() | 0xff000000u;
    }
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (!image.save(path, "JPEG", 85))
        fail("jpeg", path);
}

void pngWithText(const QString& path, const QImage& image, const QByteArray& key, const QByteArray& value)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    const QByteArray body = "tEXt" + key + '\0' + value;
    const quint32 crc = quint32(crc32(0, reinterpret_cast<const Bytef*>(body.constData()), uInt(body.size())));
    QByteArray chunk;
    const quint32 length = quint32(body.size() - 4);
    for (int shift : {24, 16, 8, 0})
        chunk.append(char(length >> shift));
    chunk.append(body);
    for (int shift : {24, 16, 8, 0})
        chunk.append(char(crc >> shift));
    const qsizetype afterHeader = 8 + 25; // signature and header chunk
    write(path, png.left(afterHeader) + chunk + png.mid(afterHeader));
}

void setModified(const QString& path, const QDateTime& moment)
{
    const qint64 ms = moment.toMSecsSinceEpoch();
    const timespec times[2]
        = {{time_t(ms / 1000), long(ms % 1000) * 1000000}, {time_t(ms / 1000), long(ms % 1000) * 1000000}};
    if (::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW) != 0)
        fail("utimensat", path);
}

void setOriginAttribute(const QString& path, const QByteArray& value)
{
    if (::setxattr(QFile::encodeName(path).constData(), "user.xdg.origin.url", value.constData(), value.size(), 0) != 0)
        fail("setxattr", path);
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

int mode(const QString& path)
{
    struct stat info
    { };
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 07777) : -1;
}

} // namespace FileFactory
