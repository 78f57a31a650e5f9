#pragma once

#include <QString>

#include <optional>

// Where a file was downloaded from, as recorded beside it by the tool that fetched it.
namespace DownloadOrigin {

// The extended attribute "user.xdg.origin.url" (Chromium-based browsers, wget and curl with
// --xattr); when absent, GIO's "metadata::download-uri" (Firefox on GNOME). Nothing otherwise.
std::optional<QString> read(const QString& path);

// The same, telling "none recorded" apart from "could not ask": `failed` when the file could
// not be read for it (gone, unreadable, a read error), and then nothing is known either way.
struct Lookup
{
    std::optional<QString> origin;
    bool failed = false;
};
Lookup lookUp(const QString& path);

} // namespace DownloadOrigin
