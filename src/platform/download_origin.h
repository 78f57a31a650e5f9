#pragma once

#include <QString>

#include <optional>

// Where a file was downloaded from, as recorded beside it by the tool that fetched it.
namespace DownloadOrigin {

// The extended attribute "user.xdg.origin.url" (Chromium-based browsers, wget and curl with
// --xattr); when absent, GIO's "metadata::download-uri" (Firefox on GNOME). Nothing otherwise.
std::optional<QString> read(const QString& path);

} // namespace DownloadOrigin
