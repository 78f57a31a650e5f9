#include "platform/thumbnailer.h"
#include "scan/enrichment.h"
#include "scan/kinds.h"
#include "support/temp_home.h"

#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QColor kRed(200, 40, 40);

bool near(QRgb pixel, const QColor& colour)
{
    return qAbs(qRed(pixel) - colour.red()) < 24 && qAbs(qGreen(pixel) - colour.green()) < 24
        && qAbs(qBlue(pixel) - colour.blue()) < 24;
}

ScannedItem itemAt(const QString& path)
{
    ScannedItem item;
    item.url = QUrl::fromLocalFile(path);
    item.name = QFileInfo(path).fileName();
    item.ext = Kinds::extension(path);
    item.kind = Kinds::map().value(item.ext, FileKind::other);
    item.size = QFileInfo(path).size();
    return item;
}

} // namespace

// Phone photos as phones write them, encoded here by libheif's own encoder.
class TestCameraPhotos : public QObject
{
    Q_OBJECT

private:
    TempHome m_home;

    // A solid red picture of `size` encoded as `name` (the suffix picks HEIC or AVIF).
    QString encoded(const QString& name, QSize size, const QStringList& options = {})
    {
        const QString source = m_home.path() + u"/source.png"_s;
        QImage image(size, QImage::Format_RGB32);
        image.fill(kRed);
        image.save(source);
        const QString target = m_home.path() + u'/' + name;
        QProcess encoder;
        encoder.start(u"heif-enc"_s, options + QStringList {u"-q"_s, u"60"_s, u"-o"_s, target, source});
        return encoder.waitForFinished(60000) && encoder.exitCode() == 0 ? target : QString();
    }

private Q_SLOTS:
    void phonePhotos_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::newRow("HEIC") << u"heic"_s;
        QTest::newRow("AVIF") << u"avif"_s;
    }

    void phonePhotos()
    {
        QFETCH(QString, suffix);
        if (QStandardPaths::findExecutable(u"heif-enc"_s).isEmpty())
            QSKIP("heif-enc is missing: install libheif-examples (scripts/setup) to make the phone photos");

        // Read from the header; the picture from the stored thumbnail, then from the photo itself.
        for (const QStringList& options : {QStringList {u"-t"_s, u"320"_s}, QStringList()}) {
            const QString photo = encoded(u"photo."_s + suffix, QSize(1280, 960), options);
            QVERIFY(!photo.isEmpty());
            QCOMPARE(Thumbnailer::imageSize(photo), QSize(1280, 960));
            const QImage thumbnail = Thumbnailer::thumbnail(photo);
            QCOMPARE(thumbnail.width(), 250);
            QVERIFY(qAbs(thumbnail.height() - 188) <= 1);
            QVERIFY(near(thumbnail.pixel(125, 94), kRed));
        }

        // Small files are tiny only when their picture is: a phone's HEIC is a few kilobytes.
        const QString wide = encoded(u"wide."_s + suffix, QSize(400, 120));
        const QString icon = encoded(u"icon."_s + suffix, QSize(48, 48));
        QVERIFY(QFileInfo(wide).size() <= Scanner::kTinyImageMaxBytes);
        QCOMPARE(Scanner::hints(itemAt(wide)), QList<JunkHint>());
        QCOMPARE(Scanner::hints(itemAt(icon)), QList<JunkHint> {JunkHint::tinyImage});
    }
};

QTEST_MAIN(TestCameraPhotos)
#include "tst_camera_photos.moc"
