#include "document_text.h"

#include "platform/pdf_documents.h"

#include <QFile>
#include <QRegularExpression>

#include <poppler-qt6.h>
#include <zip.h>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace DocumentText {

namespace {

// The entry patterns of office files: "*" for any run of characters, "?" for one.
QRegularExpression entryPattern(const QString& pattern)
{
    QString expression = u"^"_s;
    for (const QChar c : pattern) {
        if (c == u'*')
            expression += u".*"_s;
        else if (c == u'?')
            expression += u'.';
        else
            expression += QRegularExpression::escape(QString(c));
    }
    return QRegularExpression(expression + u'$', QRegularExpression::DotMatchesEverythingOption);
}

struct ZipCloser
{
    void operator()(zip_t* archive) const
    {
        zip_discard(archive);
    }
};

// Errors of the file rather than of what it holds.
bool isReadFailure(int zipError)
{
    return zipError == ZIP_ER_NOENT || zipError == ZIP_ER_OPEN || zipError == ZIP_ER_READ || zipError == ZIP_ER_SEEK;
}

struct ZipFileCloser
{
    void operator()(zip_file_t* file) const
    {
        zip_fclose(file);
    }
};

} // namespace

std::optional<QString> pdfText(const QString& path, int pages, qsizetype maxCharacters)
{
    const std::unique_ptr<Poppler::Document> document = PdfDocuments::open(path);
    if (!document || document->isLocked())
        return std::nullopt;
    QString text;
    const int count = std::min(pages, document->numPages());
    for (int i = 0; i < count && text.size() < maxCharacters; ++i) {
        const std::unique_ptr<Poppler::Page> page = document->page(i);
        if (page)
            text += page->text(QRectF());
        text += u' ';
    }
    return text.left(maxCharacters);
}

Extracted zipEntries(const QString& path, const QString& pattern, qint64 maxBytes)
{
    int error = 0;
    const std::unique_ptr<zip_t, ZipCloser> archive(zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &error));
    if (!archive)
        return {std::nullopt, isReadFailure(error)};
    const QRegularExpression matcher = entryPattern(pattern);
    QByteArray bytes;
    const zip_int64_t entries = zip_get_num_entries(archive.get(), 0);
    for (zip_int64_t i = 0; i < entries && bytes.size() < maxBytes; ++i) {
        const char* name = zip_get_name(archive.get(), static_cast<zip_uint64_t>(i), ZIP_FL_ENC_GUESS);
        if (!name || !matcher.match(QString::fromUtf8(name)).hasMatch())
            continue;
        const std::unique_ptr<zip_file_t, ZipFileCloser> file(zip_fopen_index(archive.get(), i, 0));
        if (!file) {
            if (isReadFailure(zip_error_code_zip(zip_get_error(archive.get()))))
                return {std::nullopt, true};
            continue;
        }
        char buffer[64 * 1024];
        while (bytes.size() < maxBytes) {
            const zip_uint64_t wanted = std::min<qint64>(sizeof buffer, maxBytes - bytes.size());
            const zip_int64_t got = zip_fread(file.get(), buffer, wanted);
            if (got < 0)
                return {std::nullopt, isReadFailure(zip_error_code_zip(zip_file_get_error(file.get())))};
            if (got == 0)
                break;
            bytes.append(buffer, static_cast<qsizetype>(got));
        }
    }
    return {bytes};
}

} // namespace DocumentText
