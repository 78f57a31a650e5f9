// GLib names struct members "signals", which Qt defines as a keyword: GLib comes first.
#include <gio/gio.h>

#include "download_origin.h"

#include <QFile>

#include <cerrno>
#include <sys/xattr.h>

namespace DownloadOrigin {

namespace {

// Addresses are short; a huge attribute is not an address.
constexpr ssize_t kMaxAttributeBytes = 64 * 1024;

// No attribute at all, or a file system without attributes: a fact about the file. Any other
// error is a failure to ask.
bool isAbsence(int error)
{
    return error == ENODATA || error == ENOTSUP;
}

Lookup fromAttribute(const QByteArray& path)
{
    const char* name = "user.xdg.origin.url";
    const ssize_t length = ::getxattr(path.constData(), name, nullptr, 0);
    if (length < 0)
        return {std::nullopt, !isAbsence(errno)};
    if (length < 1 || length > kMaxAttributeBytes)
        return {};
    QByteArray value(length, Qt::Uninitialized);
    if (::getxattr(path.constData(), name, value.data(), static_cast<size_t>(length)) != length)
        return {std::nullopt, true};
    // Some writers include the C string's terminating zero.
    while (value.endsWith('\0'))
        value.chop(1);
    if (value.isEmpty())
        return {};
    return {QString::fromUtf8(value)};
}

Lookup fromGioMetadata(const QByteArray& path)
{
    GFile* file = g_file_new_for_path(path.constData());
    GError* error = nullptr;
    GFileInfo* info
        = g_file_query_info(file, "metadata::download-uri", G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, &error);
    Lookup result;
    if (info) {
        const char* uri = g_file_info_get_attribute_string(info, "metadata::download-uri");
        if (uri && *uri)
            result.origin = QString::fromUtf8(uri);
        g_object_unref(info);
    } else {
        result.failed = true;
        g_clear_error(&error);
    }
    g_object_unref(file);
    return result;
}

} // namespace

std::optional<QString> read(const QString& path)
{
    return lookUp(path).origin;
}

Lookup lookUp(const QString& path)
{
    const QByteArray native = QFile::encodeName(path);
    const Lookup attribute = fromAttribute(native);
    if (attribute.origin || attribute.failed)
        return attribute;
    return fromGioMetadata(native);
}

} // namespace DownloadOrigin
