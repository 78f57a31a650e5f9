#include "platform/exif_preview.h"
#include "platform/thumbnailer.h"
#include "support/file_factory.h"
#include "support/temp_home.h"
#include "understanding/contact_sheet.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

ScannedItem named(const QString& name, const QString& path = QString())
{
    ScannedItem item;
    item.name = name;
    item.url = QUrl::fromLocalFile(path.isEmpty() ? u"/nowhere/"_s + name : path);
    return item;
}

QImage solid(int width, int height, QColor colour)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

int greyAt(const QImage& image, int x, int y)
{
    return qGray(image.pixel(x, y));
}

bool isRed(QRgb pixel)
{
    return qRed(pixel) > 200 && qGreen(pixel) < 60 && qBlue(pixel) < 60;
}

// Rows of a cell's image box that hold the picture, as [first, last] from the cell's top.
std::pair<int, int> paintedRows(const QImage& sheet, int x, int cellTop)
{
    int first = -1;
    int last = -1;
    for (int y = cellTop; y < cellTop + 230; ++y) {
        if (isRed(sheet.pixel(x, y))) {
            if (first < 0)
                first = y - cellTop;
            last = y - cellTop;
        }
    }
    return {first, last};
}

QByteArray encodedJpeg(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 90);
    return bytes;
}

} // namespace

class TestContactSheet : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storedPreviews()
    {
        // A red photo whose stored preview is blue tells which of the two a thumbnail came from.
        TempHome home;
        const QString path = home.path() + u"/IMG_0001.jpg"_s;
        const QByteArray photo = encodedJpeg(solid(1600, 1200, Qt::red));
        const auto colourOf = [&path](const QByteArray& file) {
            FileFactory::write(path, file);
            const QImage thumbnail = Thumbnailer::thumbnail(path);
            return std::pair(thumbnail.size(),
                             thumbnail.isNull() ? QRgb(0) : thumbnail.pixel(thumbnail.rect().center()));
        };
        const auto blue = [](QRgb pixel) { return qBlue(pixel) > 200 && qRed(pixel) < 60; };

        for (const bool little : {true, false}) {
            const auto [size, pixel]
                = colourOf(FileFactory::withStoredPreview(photo, encodedJpeg(solid(320, 240, Qt::blue)), little));
            QVERIFY(blue(pixel));
            QVERIFY(size.width() == 250 && qAbs(size.height() - 188) <= 1);
        }
        // Too small to fill the tile, or of another shape than the photo (made before a crop):
        // the photo itself is decoded.
        for (const QSize previewSize : {QSize(160, 120), QSize(400, 225)}) {
            const auto [size, pixel] = colourOf(FileFactory::withStoredPreview(
                photo, encodedJpeg(solid(previewSize.width(), previewSize.height(), Qt::blue)), true));
            QVERIFY(isRed(pixel));
            QVERIFY(size.width() == 250 && qAbs(size.height() - 188) <= 1);
        }
        // The photo's orientation turns its preview as it turns the photo.
        const auto [turned, turnedPixel]
            = colourOf(FileFactory::withStoredPreview(photo, encodedJpeg(solid(320, 240, Qt::blue)), true, 6));
        QVERIFY(blue(turnedPixel));
        QVERIFY(turned.height() == 220 && qAbs(turned.width() - 165) <= 1);

        // A damaged block, cut anywhere or with any byte changed, falls back to the photo.
        const QByteArray good = FileFactory::withStoredPreview(photo, encodedJpeg(solid(320, 240, Qt::blue)), true);
        const qsizetype tiffEnd = 2 + 4 + 6 + 56 + 64;
        for (qsizetype at = 12; at < tiffEnd; ++at) {
            QByteArray damaged = good;
            damaged[at] = char(0xff);
            QVERIFY(ExifPreview::jpegThumbnail(damaged) == std::nullopt
                    || ExifPreview::jpegThumbnail(damaged)->startsWith("\xff\xd8"));
            QVERIFY(!colourOf(damaged).first.isEmpty());
            QCOMPARE(ExifPreview::jpegThumbnail(good.left(at)), std::nullopt);
        }
    }

    void geometry()
    {
        QList<ScannedItem> items;
        QList<QImage> pictures;
        for (int i = 0; i < 20; ++i) {
            items.append(named(u"item %1.png"_s.arg(i)));
            pictures.append(QImage());
        }
        QCOMPARE(ContactSheet::draw(items.first(1), pictures.first(1)).size(), QSize(1300, 260));
        QCOMPARE(ContactSheet::draw(items.first(7), pictures.first(7)).size(), QSize(1300, 520));
        QCOMPARE(ContactSheet::draw(items, pictures).size(), QSize(1300, 1040));
        QCOMPARE(ContactSheet::draw({}, {}).size(), QSize(1300, 260));

        // Wide picture in the first cell, tall one in the second, none in the third.
        const QImage sheet = ContactSheet::draw(
            items.first(7),
            {solid(100, 50, Qt::red), solid(2000, 4000, Qt::red), QImage(), QImage(), QImage(), QImage(), QImage()});
        // 100 x 50 grows to 252 x 126, centred in the box 4..228 from the cell's top.
        QCOMPARE(paintedRows(sheet, 130, 0), std::pair(53, 178));
        QVERIFY(isRed(sheet.pixel(5, 100)) && isRed(sheet.pixel(254, 100)));
        QCOMPARE(greyAt(sheet, 2, 100), 219);
        // 2000 x 4000 shrinks to 112 x 224: columns 74..185 of the second cell.
        QCOMPARE(paintedRows(sheet, 260 + 130, 0), std::pair(4, 227));
        QVERIFY(isRed(sheet.pixel(260 + 75, 100)) && isRed(sheet.pixel(260 + 184, 100)));
        QVERIFY(!isRed(sheet.pixel(260 + 72, 100)) && !isRed(sheet.pixel(260 + 187, 100)));

        // Every used cell has its dark label strip with white text on it; unused cells stay plain.
        for (int i = 0; i < 10; ++i) {
            const int left = (i % 5) * 260;
            const int top = (i / 5) * 260;
            int white = 0;
            int dark = 0;
            for (int x = left; x < left + 260; ++x) {
                for (int y = top + 231; y < top + 260; ++y) {
                    const int level = greyAt(sheet, x, y);
                    white += level > 240;
                    dark += level == 20;
                }
            }
            if (i < 7) {
                QVERIFY2(white > 30 && dark > 5000, qPrintable(QString::number(i)));
            } else {
                QCOMPARE(white, 0);
                QCOMPARE(greyAt(sheet, left + 130, top + 245), 219);
            }
        }
        // The placeholder: grey text around its baseline, 120 above the cell's bottom.
        int placeholder = 0;
        for (int x = 2 * 260 + 12; x < 2 * 260 + 120; ++x) {
            for (int y = 125; y < 142; ++y)
                placeholder += greyAt(sheet, x, y) < 200;
        }
        QVERIFY(placeholder > 20);
    }

    void labels()
    {
        // Long names are cut to 24 characters: same picture whatever follows them.
        const QImage a = ContactSheet::draw({named(u"abcdefghijklmnopqrstuvwxyz-one.png"_s)}, {QImage()});
        const QImage b = ContactSheet::draw({named(u"abcdefghijklmnopqrstuvwx-other.png"_s)}, {QImage()});
        const QImage c = ContactSheet::draw({named(u"abcdefghijklmnopqrstuvw.png"_s)}, {QImage()});
        QCOMPARE(a, b);
        QVERIFY(a != c);
    }

    void sheetsFromFiles()
    {
        TempHome home;
        const QString photo = home.path() + u"/photo.jpg"_s;
        FileFactory::jpeg(photo, 1600, 1200);
        const QString document = home.path() + u"/report.pdf"_s;
        FileFactory::pdf(document, {u"Quarterly report"_s});
        const QString broken = home.path() + u"/clip.mov"_s;
        FileFactory::write(broken, "not a video at all");

        QVERIFY(Thumbnailer::thumbnail(photo).size() == QSize(250, 188)
                || Thumbnailer::thumbnail(photo).size() == QSize(250, 187));
        const QImage page = Thumbnailer::thumbnail(document);
        QVERIFY(!page.isNull() && page.width() <= 251 && page.height() <= 221);
        QVERIFY(Thumbnailer::thumbnail(broken).isNull());

        // A real clip gives one of its frames.
        const QString clip = home.path() + u"/clip.mp4"_s;
        QProcess ffmpeg;
        ffmpeg.start(
            u"ffmpeg"_s,
            u"-loglevel error -f lavfi -i testsrc=size=320x240:rate=10 -t 2 -c:v mpeg4 -pix_fmt yuv420p"_s.split(u' ')
                << clip);
        QVERIFY(ffmpeg.waitForFinished(30000) && ffmpeg.exitCode() == 0);
        const QImage frame = Thumbnailer::thumbnail(clip);
        QVERIFY(!frame.isNull());
        QVERIFY2(frame.width() == 250 && qAbs(frame.height() - 188) <= 1, qPrintable(QString::number(frame.height())));

        QList<ScannedItem> items {
            named(u"photo.jpg"_s, photo), named(u"report.pdf"_s, document), named(u"clip.mov"_s, broken)};
        const std::optional<QByteArray> jpeg = ContactSheet::make(items);
        QVERIFY(jpeg && jpeg->startsWith("\xff\xd8"));
        const QImage decoded = QImage::fromData(*jpeg, "JPEG");
        QCOMPARE(decoded.size(), QSize(1300, 260));
        // The photo's noise fills the first box; the broken clip's box stays background.
        QVERIFY(greyAt(decoded, 520 + 200, 60) > 200);
    }
};

QTEST_MAIN(TestContactSheet)
#include "tst_contact_sheet.moc"
