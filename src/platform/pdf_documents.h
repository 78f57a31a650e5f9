#pragma once

#include <QString>

#include <memory>

namespace Poppler {
class Document;
}

// PDF documents opened through poppler, with its process-wide set-up made once. Poppler builds
// its global parameters (fonts, encodings) when the first document opens and tears them down
// when the last one closes; a scan opens and closes thousands of PDFs one after another, which
// otherwise rebuilds them for nearly every file.
namespace PdfDocuments {

// The document at `path`, quietly: damaged PDFs are common in a Downloads folder, and their
// complaints are not ours to print. Nothing when it cannot be opened.
std::unique_ptr<Poppler::Document> open(const QString& path);

} // namespace PdfDocuments
