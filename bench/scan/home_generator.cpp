#include "home_generator.h"

#include "common/synthetic_photos.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QRandomGenerator>

#include <zip.h>
#include <zlib.h>

using namespace Qt::Literals::StringLiterals;

namespace HomeGenerator {

namespace {

using SyntheticPhotos::encoded;
using SyntheticPhotos::photoLike;
using SyntheticPhotos::uniqueJpeg;

const char* const kWords[]
    = {"quarterly", "invoice", "Quorrel", "launch", "budget", "receipt", "meeting", "contract", "draft",  "KSTL",
       "cards",     "review",  "travel",  "tax",    "notes",  "client",  "design",  "brief",    "summer", "report"};

class Writer
{
public:
    Writer(const QString& home, quint32 seed)
        : m_home(home)
        , m_random(seed)
    {
        for (const char* root : {"Desktop", "Downloads", "Documents"})
            QDir().mkpath(home + u'/' + QLatin1StringView(root));
    }

    QRandomGenerator& random()
    {
        return m_random;
    }

    QString root()
    {
        static const QString roots[] = {u"Desktop"_s, u"Downloads"_s, u"Documents"_s};
        const quint32 pick = m_random.bounded(10);
        return roots[pick < 3 ? 0 : pick < 7 ? 1 : 2];
    }

    QString words(int count)
    {
        QStringList result;
        for (int i = 0; i < count; ++i)
            result.append(QString::fromLatin1(kWords[m_random.bounded(int(std::size(kWords)))]));
        return result.join(u' ');
    }

    // A unique path in a root for a stem and extension.
    QString path(const QString& root, const QString& stem, const QString& ext)
    {
        return m_home + u'/' + root + u'/' + stem + u'_' + QString::number(++m_serial) + u'.' + ext;
    }

    void write(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(path));
        m_summary.items += path.count(u'/') == m_home.count(u'/') + 2 ? 1 : 0;
        m_summary.bytes += bytes.size();
    }

    QByteArray noise(qsizetype size)
    {
        QByteArray bytes(size, Qt::Uninitialized);
        m_random.fillRange(reinterpret_cast<quint32*>(bytes.data()), size / 4);
        return bytes;
    }

    Summary& summary()
    {
        return m_summary;
    }

private:
    QString m_home;
    QRandomGenerator m_random;
    qint64 m_serial = 0;
    Summary m_summary;
};

// A PNG made unique by a text chunk right after its header chunk.
QByteArray uniquePng(const QByteArray& templ, const QByteArray& text)
{
    const QByteArray body = "tEXt" + QByteArray("Comment\0", 8) + text;
    const quint32 crc = quint32(crc32(0, reinterpret_cast<const Bytef*>(body.constData()), uInt(body.size())));
    QByteArray chunk;
    const quint32 length = quint32(body.size() - 4);
    for (int shift : {24, 16, 8, 0})
        chunk.append(char(length >> shift));
    chunk.append(body);
    for (int shift : {24, 16, 8, 0})
        chunk.append(char(crc >> shift));
    const qsizetype afterHeader = 8 + 25; // signature + IHDR chunk
    return templ.left(afterHeader) + chunk + templ.mid(afterHeader);
}

QByteArray zipOf(const QList<QPair<QByteArray, QByteArray>>& entries)
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* target = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip_source_keep(target);
    zip_t* archive = zip_open_from_source(target, ZIP_TRUNCATE, &error);
    for (const auto& [name, content] : entries) {
        zip_source_t* source = zip_source_buffer(archive, content.constData(), content.size(), 0);
        zip_file_add(archive, name.constData(), source, 0);
    }
    zip_close(archive);
    zip_source_open(target);
    zip_source_seek(target, 0, SEEK_END);
    const zip_int64_t size = zip_source_tell(target);
    zip_source_seek(target, 0, SEEK_SET);
    QByteArray bytes(size, Qt::Uninitialized);
    zip_source_read(target, bytes.data(), zip_uint64_t(size));
    zip_source_close(target);
    zip_source_free(target);
    return bytes;
}

QByteArray pdfWithText(const QString& text)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    QPainter painter(&writer);
    for (int page = 0; page < 2; ++page) {
        if (page > 0)
            writer.newPage();
        painter.drawText(QRect(0, 0, writer.width(), writer.height()), Qt::TextWordWrap, text);
    }
    painter.end();
    return bytes;
}

} // namespace

Summary generate(const QString& home, int items)
{
    Writer w(home, 20261123);
    // Shares of the whole, in items: what a busy person's three folders hold.
    const int photos = items * 10 / 100;
    const int screenshots = items * 12 / 100;
    const int pdfs = items * 8 / 100;
    const int office = items * 6 / 100;
    const int text = items * 20 / 100;
    const int archives = items * 3 / 100;
    const int installers = items / 1000;
    const int media = items * 2 / 100;
    const int folders = items * 6 / 100;
    const int sameSize = items * 12 / 100; // thousands of files sharing sizes
    const int dupSets = items * 3 / 100;

    const QByteArray jpegTemplates[] = {encoded(photoLike(2400, 1800, 1), "JPEG", 88),
                                        encoded(photoLike(2000, 1500, 2), "JPEG", 90),
                                        encoded(photoLike(3000, 2000, 3), "JPEG", 80)};
    for (int i = 0; i < photos; ++i) {
        const QByteArray& templ = jpegTemplates[i % 3];
        w.write(w.path(w.root(), u"IMG"_s, u"jpg"_s),
                uniqueJpeg(templ, "photo " + QByteArray::number(i), int(w.random().bounded(60000))));
    }

    QImage screen(1440, 900, QImage::Format_RGB32);
    screen.fill(Qt::white);
    QPainter painter(&screen);
    for (int i = 0; i < 40; ++i)
        painter.fillRect(QRect(20 + (i % 5) * 280, 20 + (i / 5) * 110, 260, 90), QColor::fromHsv(i * 9, 60, 230));
    painter.end();
    const QByteArray pngTemplate = encoded(screen, "PNG", -1);
    for (int i = 0; i < screenshots; ++i) {
        w.write(
            w.path(i % 3 ? u"Desktop"_s : w.root(),
                   u"Screenshot 2026-0%1-1%2 at 10.%3"_s.arg(1 + i % 9).arg(i % 10).arg(i % 60),
                   u"png"_s),
            uniquePng(pngTemplate, "shot " + QByteArray::number(i) + QByteArray(int(w.random().bounded(400000)), 'x')));
    }

    for (int i = 0; i < pdfs; ++i)
        w.write(w.path(w.root(), w.words(2).replace(u' ', u'-'), u"pdf"_s), pdfWithText(w.words(60)));

    for (int i = 0; i < office; ++i) {
        const QByteArray body = w.words(120).toUtf8();
        switch (i % 3) {
            case 0:
                w.write(w.path(w.root(), u"letter"_s, u"docx"_s),
                        zipOf({{"[Content_Types].xml", "<Types/>"},
                               {"word/document.xml", "<w:document><w:t>" + body + "</w:t></w:document>"}}));
                break;
            case 1:
                w.write(w.path(w.root(), u"deck"_s, u"pptx"_s),
                        zipOf({{"ppt/slides/slide1.xml", "<p:sld><a:t>" + body + "</a:t></p:sld>"},
                               {"ppt/slides/slide2.xml", "<p:sld><a:t>" + body + "</a:t></p:sld>"}}));
                break;
            default:
                w.write(w.path(w.root(), u"budget"_s, u"xlsx"_s),
                        zipOf({{"xl/sharedStrings.xml", "<sst><t>" + body + "</t></sst>"}}));
        }
    }

    const QString textExts[] = {u"txt"_s, u"md"_s, u"csv"_s, u"json"_s, u"py"_s, u"js"_s, u"html"_s, u"swift"_s};
    for (int i = 0; i < text; ++i) {
        QByteArray body;
        const int lines = 20 + int(w.random().bounded(400));
        for (int line = 0; line < lines; ++line)
            body += w.words(8).toUtf8() + '\n';
        w.write(w.path(w.root(), u"notes"_s, textExts[i % 8]), body);
    }

    for (int i = 0; i < archives; ++i) {
        const QString root = w.root();
        const QString path = w.path(root, u"photos"_s, u"zip"_s);
        w.write(path, zipOf({{"a.txt", w.words(30).toUtf8()}, {"b.bin", w.noise(200000)}}));
        if (i % 3 == 0 && QDir().mkpath(path.chopped(4))) // already unzipped beside it
            w.summary().items += 1;
    }

    for (int i = 0; i < installers; ++i)
        w.write(w.path(u"Downloads"_s, u"Setup"_s, i % 2 ? u"dmg"_s : u"iso"_s),
                w.noise(20000000 + w.random().bounded(40000000)));

    const QString mediaExts[] = {u"mp4"_s, u"mov"_s, u"mp3"_s, u"wav"_s};
    for (int i = 0; i < media; ++i)
        w.write(w.path(w.root(), u"clip"_s, mediaExts[i % 4]), w.noise(1000000 + w.random().bounded(5000000)));
    // A few very large files, two of them the same download made twice.
    const QByteArray huge = w.noise(150000000);
    w.write(w.path(u"Downloads"_s, u"Footage"_s, u"mov"_s), huge);
    w.write(w.path(u"Downloads"_s, u"Footage copy"_s, u"mov"_s), huge);
    w.write(w.path(u"Desktop"_s, u"Render"_s, u"mp4"_s), w.noise(120000000));
    w.write(w.path(u"Documents"_s, u"Backup"_s, u"zip"_s), w.noise(220000000));

    for (int i = 0; i < folders; ++i) {
        const QString folder = w.path(w.root(), i % 8 ? u"Folder"_s : u"webapp"_s, u"d"_s);
        QDir().mkpath(folder);
        w.summary().items += 1;
        if (i % 8 == 0)
            w.write(folder + u"/package.json"_s, "{}");
        const int inside = 1 + int(w.random().bounded(30));
        for (int k = 0; k < inside; ++k)
            w.write(folder + u"/file"_s + QString::number(k) + (k % 2 ? u".png"_s : u".txt"_s), "x");
    }

    // Same sizes, different content: fixed-size exports; a fifth share their first 4 KiB too.
    const QByteArray sharedHeader = w.noise(8192);
    for (int i = 0; i < sameSize; ++i) {
        const qsizetype size = 16384 * (1 + i % 40);
        QByteArray body = w.noise(size);
        if (i % 5 == 0)
            body.replace(0, 8192, sharedHeader);
        w.write(w.path(w.root(), u"export"_s, u"dng"_s), body);
    }

    // True duplicates: the same photo, PDF or file saved twice or three times.
    for (int i = 0; i < dupSets; ++i) {
        QByteArray body = i % 2
            ? uniqueJpeg(jpegTemplates[i % 3], "dup " + QByteArray::number(i), int(w.random().bounded(60000)))
            : pdfWithText(w.words(40));
        const QString ext = i % 2 ? u"jpg"_s : u"pdf"_s;
        const int copies = 2 + (i % 4 == 0);
        for (int c = 0; c < copies; ++c)
            w.write(w.path(w.root(), c ? u"copy"_s : u"original"_s, ext), body);
    }
    w.summary().duplicateSets = dupSets + 1;

    // Whatever is left: small files of other kinds.
    const QString otherExts[] = {u"psd"_s, u"ttf"_s, u"sketch"_s, u"ai"_s, u"xyz"_s, u"part"_s, u"heic"_s};
    for (int i = 0; w.summary().items < items; ++i)
        w.write(w.path(w.root(), u"misc"_s, otherExts[i % 7]), w.noise(1000 + w.random().bounded(300000)));
    return w.summary();
}

} // namespace HomeGenerator
