#include "pdf_documents.h"

#include <poppler-qt6.h>

namespace PdfDocuments {

namespace {

// The smallest document poppler accepts (it rebuilds the missing cross-reference table).
constexpr char kBlankPdf[] = "%PDF-1.4\n"
                             "1 0 obj <</Type /Catalog /Pages 2 0 R>> endobj\n"
                             "2 0 obj <</Type /Pages /Kids [3 0 R] /Count 1>> endobj\n"
                             "3 0 obj <</Type /Page /Parent 2 0 R /MediaBox [0 0 1 1]>> endobj\n"
                             "trailer <</Root 1 0 R>>\n"
                             "%%EOF\n";

void prepare()
{
    static const bool prepared = [] {
        Poppler::setDebugErrorFunction([](const QString&, const QVariant&) {}, QVariant());
        // Held open, never closed, so the global parameters outlive every other document.
        // Releasing it at exit would race the statics it depends on.
        [[maybe_unused]] static Poppler::Document* const keeper
            = Poppler::Document::loadFromData(QByteArray(kBlankPdf)).release();
        return true;
    }();
    Q_UNUSED(prepared);
}

} // namespace

std::unique_ptr<Poppler::Document> open(const QString& path)
{
    prepare();
    return Poppler::Document::load(path);
}

} // namespace PdfDocuments
