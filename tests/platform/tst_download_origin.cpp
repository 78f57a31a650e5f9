#include "platform/download_origin.h"
#include "support/file_factory.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// Runs inside its own D-Bus session (see tests/CMakeLists.txt), where GIO's metadata service
// records what `gio set` writes, the way a browser on a GNOME desktop records a download.
class TestDownloadOrigin : public QObject
{
    Q_OBJECT

private:
    static void setGioOrigin(const QString& path, const QString& uri)
    {
        QProcess gio;
        gio.start(u"gio"_s, {u"set"_s, path, u"metadata::download-uri"_s, uri});
        QVERIFY(gio.waitForFinished(10000));
        QCOMPARE(gio.exitCode(), 0);
    }

private Q_SLOTS:
    void attributeFirstThenGioMetadata()
    {
        QTemporaryDir dir;
        const QString both = dir.filePath(u"both.pdf"_s);
        const QString gioOnly = dir.filePath(u"gio only.pdf"_s);
        const QString neither = dir.filePath(u"neither.pdf"_s);
        for (const QString& path : {both, gioOnly, neither})
            FileFactory::write(path, "x");

        setGioOrigin(gioOnly, u"https://example.org/from-firefox.pdf"_s);
        setGioOrigin(both, u"https://example.org/older.pdf"_s);
        FileFactory::setOriginAttribute(both, "https://example.org/from-chromium.pdf");

        // The metadata service writes its journal asynchronously; give it a moment.
        QTRY_COMPARE_WITH_TIMEOUT(
            DownloadOrigin::read(gioOnly), std::optional(u"https://example.org/from-firefox.pdf"_s), 5000);
        QCOMPARE(DownloadOrigin::read(both), u"https://example.org/from-chromium.pdf"_s);
        QCOMPARE(DownloadOrigin::read(neither), std::nullopt);
        QCOMPARE(DownloadOrigin::read(dir.filePath(u"missing.pdf"_s)), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(TestDownloadOrigin)
#include "tst_download_origin.moc"
