// GLib names struct members "signals", which Qt defines as a keyword: GLib comes first.
#include <gio/gio.h>

#include "download_origin.h"

#include <QFile>

#include <sys/xattr.h>

namespace DownloadOrigin {

namespace {

// Addresses are short; a huge attribute is not an address.
constexpr ssize_t kMaxAttributeBytes = 64 * 1024;

std::optional<QString> fromAttribute(const QByteArray& path)
{
    const char* name = "user.xdg.origin.url";
    const ssize_t length = ::getxattr(path.constData(), name, nullptr, 0);
    if (length < 1 || length > kMaxAttributeBytes)
        return std::nullopt;
    QByteArray value(length, Qt::Uninitialized);
    if (::getxattr(path.constData(), name, value.data(), static_cast<size_t>(length)) != length)
        return std::nullopt;
    // Some writers include the C string's terminating zero.
    while (value.endsWith('\0'))
        value.chop(1);
    if (value.isEmpty())
        return std::nullopt;
    return QString::fromUtf8(value);
}

std::optional<QString> fromGioMetadata(const QByteArray& path)
{
    GFile* file = g_file_new_for_path(path.constData());
    GFileInfo* info
        = g_file_query_info(file, "metadata::download-uri", G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr);
    std::optional<QString> result;
    if (info) {
        const char* uri = g_file_info_get_attribute_string(info, "metadata::download-uri");
        if (uri && *uri)
            result = QString::fromUtf8(uri);
        g_object_unref(info);
    }
    g_object_unref(file);
    return result;
}

} // namespace

std::optional<QString> read(const QString& path)
{
    const QByteArray native = QFile::encodeName(path);
    if (std::optional<QString> origin = fromAttribute(native))
        return origin;
    return fromGioMetadata(native);
}

} // namespace DownloadOrigin
