#pragma once

#include "model/scanned_item.h"
#include "platform/download_origin.h"

#include <QString>
#include <QStringList>

#include <optional>

// The evidence a scan gathers about one item beyond its name. Every operation is a pure
// function of the item's state on disk and answers "nothing" rather than failing.
namespace Scanner {

constexpr int kSnippetCharacters = 800;
constexpr qint64 kPlainTextBytes = 6000;
constexpr qint64 kZipTextBytes = 300000;
constexpr int kPdfPages = 3;
constexpr qint64 kNoSnippetFromBytes = 60000000;
constexpr qint64 kTinyImageMaxBytes = 8191;

// "Folder with N items (kinds). Contents: names" for an ordinary folder; "Empty folder" when
// nothing visible is inside.
std::optional<QString> peek(const QString& folderPath);
// Up to 800 characters of a file's text, for the kinds of file that have readable text.
std::optional<QString> snippet(const QString& path, const QString& ext, qint64 size);
// The address the file was downloaded from, when a browser or download tool recorded one.
std::optional<QString> whereFrom(const QString& path);

// A file's snippet and origin, as snippet() and whereFrom() give them, and whether reading
// either failed (the file vanished or was replaced, a read gave an error): then neither says
// anything about the file, and nothing of it may be remembered. `origin`: the file's origin
// when it was already looked up in this scan, so that it is not asked twice.
struct FileEvidence
{
    std::optional<QString> text;
    std::optional<QString> whereFrom;
    bool failed = false;
};
FileEvidence fileEvidence(const QString& path,
                          const QString& ext,
                          qint64 size,
                          const std::optional<DownloadOrigin::Lookup>& origin = std::nullopt);

// The junk hints of an item, in their fixed order (never an exact duplicate: that takes the
// other items). An application, or an AppImage, counts as an installer only inside
// `downloads`, the desktop's own Downloads folder (absolute), when it has one.
QList<JunkHint> hints(const ScannedItem& item, const std::optional<QString>& downloads = std::nullopt);
// An image whose larger side is at most 64 pixels, or whose size cannot be read although its
// format has a reader here (a format with none is never called tiny).
bool isTinyImage(const QString& path);
// Markup tags and runs of white space become single blanks; cut at 800 user-perceived characters.
QString clean(const QString& text);
// The decompressed text of the entries of a zip container matching `entryPattern` ("*" and "?"
// wildcards), concatenated in archive order and capped at 300,000 bytes before decoding.
std::optional<QString> unzip(const QString& path, const QString& entryPattern);

// Whether an archive's extracted folder sits beside it ("photos.zip" beside a folder "photos").
bool hasExtractedFolder(const QString& archivePath);
// A name less its last extension: "backup.tar.gz" gives "backup.tar".
QString nameWithoutExtension(const QString& name);

} // namespace Scanner
