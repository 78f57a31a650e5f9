#include "enrichment.h"

#include "document_text.h"
#include "kinds.h"
#include "model/blanks.h"
#include "model/graphemes.h"
#include "model/user_folders.h"
#include "platform/download_origin.h"
#include "platform/file_io.h"
#include "platform/thumbnailer.h"
#include "scanner.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Scanner {

namespace {

constexpr int kPeekKinds = 5;
constexpr int kPeekNames = 25;
// A PDF page can hold megabytes of text; the first 800 visible characters never need more.
constexpr qsizetype kPdfTextCharacters = 100000;

const QSet<QString>& plainTextExtensions()
{
    static const QSet<QString> extensions {u"txt"_s,
                                           u"md"_s,
                                           u"markdown"_s,
                                           u"csv"_s,
                                           u"tsv"_s,
                                           u"json"_s,
                                           u"html"_s,
                                           u"htm"_s,
                                           u"rtf"_s,
                                           u"yml"_s,
                                           u"yaml"_s,
                                           u"svg"_s,
                                           u"sol"_s,
                                           u"desktop"_s};
    return extensions;
}

QRegularExpression caseless(const QString& pattern)
{
    return QRegularExpression(
        pattern, QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
}

} // namespace

QString nameWithoutExtension(const QString& name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.left(dot) : name;
}

std::optional<QString> peek(const QString& folderPath)
{
    QDir folder(folderPath);
    if (!folder.exists() || !folder.isReadable())
        return std::nullopt;
    QStringList names;
    for (const QString& name :
         folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted)) {
        if (!name.startsWith(u'.'))
            names.append(name);
    }
    if (names.isEmpty())
        return u"Empty folder"_s;

    QHash<FileKind, int> counts;
    for (const QString& name : std::as_const(names))
        ++counts[Kinds::map().value(Kinds::extension(name), FileKind::other)];
    QList<std::pair<FileKind, int>> ranked(counts.keyValueBegin(), counts.keyValueEnd());
    // Ties are ordered by kind only to make the summary repeatable.
    std::sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    QStringList kinds;
    for (const auto& [kind, count] : ranked.first(std::min<qsizetype>(kPeekKinds, ranked.size())))
        kinds.append(QString::number(count) + u' ' + rawValue(kind));

    std::sort(names.begin(), names.end());
    return u"Folder with "_s + QString::number(names.size()) + u" items ("_s + kinds.join(u", "_s) + u"). Contents: "_s
        + names.first(std::min<qsizetype>(kPeekNames, names.size())).join(u" | "_s);
}

namespace {

// White space as Unicode-aware regular expressions know it: the separators (Zs, Zl, Zp), the
// ASCII controls tab to carriage return, next line, and the Mongolian vowel separator, which
// was a separator in older Unicode versions.
bool isWhiteSpace(char16_t c)
{
    if (c <= 0x20)
        return c == 0x20 || (c >= 0x09 && c <= 0x0d);
    switch (c) {
        case 0x85:
        case 0xa0:
        case 0x1680:
        case 0x180e:
        case 0x2028:
        case 0x2029:
        case 0x202f:
        case 0x205f:
        case 0x3000:
            return true;
        default:
            return c >= 0x2000 && c <= 0x200a;
    }
}

} // namespace

QString clean(const QString& text)
{
    // One pass instead of two regular-expression replacements: a tag ('<', at least one
    // character other than '>', then the first '>') becomes a space, and every run of white
    // space, the spaces left by tags included, becomes one space.
    QString result;
    result.reserve(text.size());
    bool inSpace = false;
    const auto space = [&] {
        if (!inSpace)
            result.append(u' ');
        inSpace = true;
    };
    // The first '>' after the last place looked at, or -1 when there is none.
    qsizetype close = text.indexOf(u'>');
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c == u'<' && close != -1) {
            if (close < i)
                close = text.indexOf(u'>', i + 1);
            if (close >= i + 2) {
                space();
                i = close;
                continue;
            }
        }
        if (isWhiteSpace(c)) {
            space();
        } else {
            result.append(QChar(c));
            inSpace = false;
        }
    }
    return Graphemes::left(trimBlanks(result), kSnippetCharacters);
}

std::optional<QString> unzip(const QString& path, const QString& entryPattern)
{
    const DocumentText::Extracted extracted = DocumentText::zipEntries(path, entryPattern, kZipTextBytes);
    if (!extracted.bytes)
        return std::nullopt;
    return QString::fromUtf8(*extracted.bytes);
}

namespace {

// The entries of an office file that hold its text; empty for other extensions.
QString officeEntries(const QString& ext)
{
    if (ext == u"docx")
        return u"word/document.xml"_s;
    if (ext == u"pptx")
        return u"ppt/slides/slide*.xml"_s;
    if (ext == u"xlsx")
        return u"xl/sharedStrings.xml"_s;
    if (ext == u"odt" || ext == u"ods" || ext == u"odp")
        return u"content.xml"_s;
    return {};
}

struct Snippet
{
    std::optional<QString> text;
    bool failed = false;
};

Snippet readSnippet(const QString& path, const QString& ext, qint64 size)
{
    if (size <= 0 || size >= kNoSnippetFromBytes)
        return {};
    if (plainTextExtensions().contains(ext)) {
        const std::optional<QByteArray> head = FileIo::readHead(path, kPlainTextBytes);
        if (!head)
            return {std::nullopt, true};
        return {clean(QString::fromUtf8(*head))};
    }
    std::optional<QString> text;
    bool failed = false;
    if (const QString entries = officeEntries(ext); !entries.isEmpty()) {
        const DocumentText::Extracted extracted = DocumentText::zipEntries(path, entries, kZipTextBytes);
        if (extracted.bytes)
            text = QString::fromUtf8(*extracted.bytes);
        failed = extracted.failed;
    } else if (ext == u"pdf") {
        text = DocumentText::pdfText(path, kPdfPages, kPdfTextCharacters);
    } else {
        return {};
    }
    if (text)
        return {clean(*text)};
    // Document readers seldom say why a file gave nothing: damaged, which is a fact about it,
    // or unreadable, which is not. Reading the file tells them apart.
    return {std::nullopt, failed || !FileIo::readHead(path, 1)};
}

} // namespace

std::optional<QString> snippet(const QString& path, const QString& ext, qint64 size)
{
    return readSnippet(path, ext, size).text;
}

std::optional<QString> whereFrom(const QString& path)
{
    return DownloadOrigin::read(path);
}

FileEvidence
fileEvidence(const QString& path, const QString& ext, qint64 size, const std::optional<DownloadOrigin::Lookup>& origin)
{
    const DownloadOrigin::Lookup found = origin ? *origin : DownloadOrigin::lookUp(path);
    const Snippet text = readSnippet(path, ext, size);
    return {text.text, found.origin, found.failed || text.failed};
}

bool isTinyImage(const QString& path)
{
    // Not knowing a format is no evidence against the picture: a phone photo is never junk
    // merely because this system cannot look inside it.
    if (!Thumbnailer::hasReaderFor(path))
        return false;
    const std::optional<QSize> size = Thumbnailer::imageSize(path);
    return !size || std::max(size->width(), size->height()) < 65;
}

bool hasExtractedFolder(const QString& archivePath)
{
    const QFileInfo archive(archivePath);
    return QFileInfo(archive.path() + u'/' + nameWithoutExtension(archive.fileName())).isDir();
}

namespace {

// A program that runs as it is, where it is: once it has been put where it belongs, it is no
// leftover. Only in Downloads, where it arrived, is it an installer still to be dealt with.
bool runsWhereItIs(const ScannedItem& item)
{
    return (item.kind == FileKind::bundle && item.ext == u"app")
        || (item.kind == FileKind::installer && item.ext == u"appimage");
}

bool isLeftoverInstaller(const ScannedItem& item, const std::optional<QString>& downloads)
{
    if (!runsWhereItIs(item))
        return item.kind == FileKind::installer;
    return downloads && UserFolders::isInside(item.url.toLocalFile(), {*downloads});
}

bool isDiskImage(const QString& ext)
{
    return ext == u"img" || ext == u"qcow2";
}

} // namespace

QList<JunkHint> hints(const ScannedItem& item, const std::optional<QString>& downloads)
{
    static const QRegularExpression screenshot = caseless(u"^(screen ?shot|screenshot|screen recording|cleanshot)"_s);
    static const QRegularExpression copyStyle = caseless(u"( \\(\\d+\\)| copy( \\d+)?)$"_s);
    QList<JunkHint> result;
    // The patterns are matched without regard to case, so a long s (U+017F) counts as an s.
    const QChar first = item.name.isEmpty() ? QChar() : item.name.front();
    const bool mayBeScreenshot = first.toLower() == u's' || first == QChar(0x017F) || first.toLower() == u'c';
    if (mayBeScreenshot && screenshot.match(item.name).hasMatch())
        result.append(JunkHint::screenshotName);
    if (isLeftoverInstaller(item, downloads))
        result.append(JunkHint::installer);
    if (item.kind == FileKind::partial || isBrowserDownloadName(item.name))
        result.append(JunkHint::partialDownload);
    if (!item.isDir && item.size == 0)
        result.append(JunkHint::emptyFile);
    if (item.kind == FileKind::archive) {
        if (!isDiskImage(item.ext) && hasExtractedFolder(item.url.toLocalFile()))
            result.append(JunkHint::alreadyExtractedArchive);
    } else if (item.kind == FileKind::image && item.size >= 1 && item.size <= kTinyImageMaxBytes) {
        if (isTinyImage(item.url.toLocalFile()))
            result.append(JunkHint::tinyImage);
    }
    const QString stem = nameWithoutExtension(item.name);
    const QChar last = stem.isEmpty() ? QChar() : stem.back();
    // Every match holds " (" or "copy"; most names hold neither, however they end.
    const bool mayBeCopy = (last == u')' && stem.contains(u" ("_s))
        || ((last.toLower() == u'y' || last.isDigit()) && stem.contains(u"copy"_s, Qt::CaseInsensitive));
    if (mayBeCopy && copyStyle.match(stem).hasMatch())
        result.append(JunkHint::copyStyleName);
    return result;
}

} // namespace Scanner
