#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Text out of documents, in-process: PDF pages and the XML parts of office files.
namespace DocumentText {

// The text of the first `pages` pages, each followed by one blank, cut at `maxCharacters`.
// Nothing when the document cannot be opened (damaged, encrypted, not a PDF).
std::optional<QString> pdfText(const QString& path, int pages, qsizetype maxCharacters);

// What came out of an office file: its bytes, or nothing when it is no zip container or a
// matching entry is damaged. `failed` when the file itself could not be read (gone, replaced by
// a folder, a read error): then nothing was learned about it.
struct Extracted
{
    std::optional<QByteArray> bytes;
    bool failed = false;
};

// The decompressed bytes of every entry whose name matches `pattern`, in archive order, at most
// `maxBytes` in all: decompression stops there, so a zip bomb costs no more than an honest file.
// An archive without a matching entry gives empty bytes; never the cut text of a failed read.
Extracted zipEntries(const QString& path, const QString& pattern, qint64 maxBytes);

} // namespace DocumentText
