#include "controller/thumb_cache.h"
#include "platform/thumbnailer.h"
#include "support/file_factory.h"
#include "support/temp_home.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QSemaphore>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QUrl>
#include <QtEndian>

#include <memory>
#include <sys/stat.h>
#include <zlib.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kOpen = 1'000'000;
constexpr qint64 kTileBytes = 220 * 165 * 4;

// Real thumbnails, counted in the order they start; each waits for a permit from the test.
struct Generations
{
    explicit Generations(int permits)
        : gate(permits)
    { }
    QStringList order()
    {
        const QMutexLocker lock(&mutex);
        return started;
    }

    QMutex mutex;
    QStringList started;
    QSemaphore entered;
    QSemaphore gate;
};

ThumbCache::Generator counted(const std::shared_ptr<Generations>& generations)
{
    return [generations](const QString& path, QSize box) {
        {
            const QMutexLocker lock(&generations->mutex);
            generations->started.append(QFileInfo(path).fileName());
        }
        generations->entered.release();
        generations->gate.acquire();
        return Thumbnailer::thumbnail(path, box);
    };
}

QStringList announced(const QSignalSpy& spy)
{
    QStringList names;
    for (const QList<QVariant>& arguments : spy)
        names.append(QFileInfo(arguments.at(0).toString()).fileName());
    return names;
}

QString thumbnailFolder(const QString& size)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/thumbnails/"_s + size;
}

QString entryFor(const QString& path, const QString& size)
{
    const QByteArray uri = QUrl::fromLocalFile(path).toEncoded();
    return thumbnailFolder(size) + u'/'
        + QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) + u".png"_s;
}

// Other programs' PNG readers drop a text chunk whose checksum is wrong, so each is checked here.
bool checksumsHold(const QByteArray& png)
{
    const auto number = [&png](qsizetype at) { return qFromBigEndian<quint32>(png.constData() + at); };
    qsizetype at = 8;
    while (at + 12 <= png.size()) {
        const qsizetype length = number(at);
        const QByteArray typed = png.mid(at + 4, 4 + length);
        if (typed.size() != 4 + length
            || number(at + 8 + length)
                != quint32(crc32(0, reinterpret_cast<const Bytef*>(typed.constData()), uInt(typed.size()))))
            return false;
        at += 12 + length;
    }
    return at == png.size();
}

QImage solid(QColor colour)
{
    QImage image(256, 192, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

} // namespace

class TestThumbCache : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_home = std::make_unique<TempHome>();
    }
    void cleanup()
    {
        m_home.reset();
    }
    void eachPictureIsMadeOnce()
    {
        const auto generations = std::make_shared<Generations>(0);
        ThumbCache cache(ThumbCache::kDefaultBudget, counted(generations), 1);
        QSignalSpy ready(&cache, &ThumbCache::ready);
        const QString sunset = photo(u"sunset.png"_s);
        const QString broken = m_home->writeFile(u"Downloads/broken.jpg"_s, "not a picture at all");
        for (int i = 0; i < 50; ++i)
            cache.request(sunset);
        QVERIFY(generations->entered.tryAcquire(1, 5000));
        for (int i = 0; i < 50; ++i)
            cache.request(sunset);
        QVERIFY(!cache.cached(sunset));
        generations->gate.release(kOpen);
        QTRY_COMPARE(ready.count(), 1);
        QCOMPARE(ready.at(0).at(1).value<QImage>().size(), QSize(220, 165));
        QCOMPARE(cache.cached(sunset)->size(), QSize(220, 165));
        cache.request(broken);
        QTRY_COMPARE(ready.count(), 2);
        QVERIFY(ready.at(1).at(1).value<QImage>().isNull());
        QVERIFY(cache.cached(broken) && cache.cached(broken)->isNull());

        // With one worker, making either again would start before the harbour.
        cache.request(sunset);
        cache.request(broken);
        cache.request(photo(u"harbour.png"_s));
        QTRY_COMPARE(ready.count(), 3);
        QCOMPARE(announced(ready), (QStringList {u"sunset.png"_s, u"broken.jpg"_s, u"harbour.png"_s}));

        FileFactory::setModified(broken, QDateTime::currentDateTime().addSecs(3600));
        cache.request(broken);
        QTRY_COMPARE(ready.count(), 4);
        QVERIFY(ready.at(3).at(1).value<QImage>().isNull());
        QCOMPARE(generations->order(), announced(ready));
        QCOMPARE(QDir(thumbnailFolder(u"large"_s)).entryList(QDir::Files | QDir::Hidden).size(), 2);
    }

    void queueServesNewestAndForgetsDropped()
    {
        const auto generations = std::make_shared<Generations>(0);
        ThumbCache cache(ThumbCache::kDefaultBudget, counted(generations), 1);
        QSignalSpy ready(&cache, &ThumbCache::ready);
        const auto path = [this](const char16_t* name) -> QString { return m_home->path() + u"/Downloads/"_s + name; };
        for (const char16_t* name : {u"a.png", u"b.png", u"c.png", u"d.png", u"e.png"})
            FileFactory::png(path(name), 640, 480);

        cache.request(path(u"a.png"));
        QVERIFY(generations->entered.tryAcquire(1, 5000));
        for (const char16_t* name : {u"b.png", u"c.png", u"d.png", u"e.png"})
            cache.request(path(name));
        cache.request(path(u"b.png")); // scrolled back to
        cache.drop(path(u"e.png")); // scrolled away before its turn
        cache.drop(path(u"a.png")); // already being made: still delivered
        generations->gate.release(kOpen);
        QTRY_COMPARE(ready.count(), 4);
        QCOMPARE(announced(ready), (QStringList {u"a.png"_s, u"b.png"_s, u"d.png"_s, u"c.png"_s}));
        QCOMPARE(generations->order(), announced(ready));
        cache.request(path(u"e.png"));
        QTRY_COMPARE(ready.count(), 5);
    }

    void memoryStaysWithinBudget()
    {
        const auto generations = std::make_shared<Generations>(kOpen);
        const qint64 budget = 3 * kTileBytes + 1000;
        ThumbCache cache(budget, counted(generations), 1);
        QSignalSpy ready(&cache, &ThumbCache::ready);
        QStringList paths;
        for (const QString& name : {u"a.png"_s, u"b.png"_s, u"c.png"_s, u"d.png"_s})
            paths.append(photo(name));
        for (int i = 0; i < 3; ++i) {
            cache.request(paths[i]);
            QTRY_COMPARE(ready.count(), i + 1);
        }
        QCOMPARE(cache.memoryUsed(), 3 * kTileBytes);

        QVERIFY(cache.cached(paths[0])); // the oldest, looked at again
        cache.request(paths[3]);
        QTRY_COMPARE(ready.count(), 4);
        QVERIFY(cache.memoryUsed() <= budget);
        QVERIFY(cache.cached(paths[0]));
        QVERIFY(!cache.cached(paths[1]));
        QVERIFY(cache.cached(paths[2]));
        QVERIFY(cache.cached(paths[3]));
    }

    void desktopThumbnailCache()
    {
        const auto generations = std::make_shared<Generations>(kOpen);
        const QString harbour = photo(u"harbour.png"_s);
        const auto thumbnailOf = [&](const QString& path) {
            ThumbCache cache(ThumbCache::kDefaultBudget, counted(generations), 2);
            QSignalSpy ready(&cache, &ThumbCache::ready);
            cache.request(path);
            return ready.wait(5000) ? ready.at(0).at(1).value<QImage>() : QImage();
        };
        QCOMPARE(thumbnailOf(harbour).size(), QSize(220, 165));

        const QString entry = entryFor(harbour, u"large"_s);
        QFile file(entry);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray png = file.readAll();
        const QByteArray seconds = QByteArray::number(QFileInfo(harbour).lastModified().toSecsSinceEpoch());
        const QByteArray uriChunk = QByteArray("tEXtThumb::URI") + '\0' + QUrl::fromLocalFile(harbour).toEncoded();
        const QByteArray timeChunk = QByteArray("tEXtThumb::MTime") + '\0' + seconds;
        QVERIFY(png.contains(uriChunk));
        QVERIFY(png.contains(timeChunk));
        QVERIFY(checksumsHold(png));
        QCOMPARE(QImage::fromData(png).size(), QSize(256, 192));
        QCOMPARE(FileFactory::mode(entry), 0600);
        QCOMPARE(FileFactory::mode(thumbnailFolder(u"large"_s)), 0700);
        QCOMPARE(FileFactory::mode(thumbnailFolder({})), 0700);
        QCOMPARE(QDir(thumbnailFolder(u"large"_s)).entryList(QDir::Files | QDir::Hidden).size(), 1);

        // Reopening the review finds it there instead of making it again.
        QCOMPARE(thumbnailOf(harbour).size(), QSize(220, 165));
        QCOMPARE(generations->order().size(), 1);

        // Another program's fresh entry is used; one of an older version, or one too small for a
        // tile, is not.
        const QString foreign = photo(u"foreign.png"_s);
        const qint64 foreignTime = QFileInfo(foreign).lastModified().toSecsSinceEpoch();
        FileFactory::pngWithText(
            entryFor(foreign, u"large"_s), solid(Qt::red), "Thumb::MTime", QByteArray::number(foreignTime));
        QCOMPARE(QColor(thumbnailOf(foreign).pixel(10, 10)), QColor(Qt::red));
        const QString changed = photo(u"changed.png"_s);
        const qint64 changedTime = QFileInfo(changed).lastModified().toSecsSinceEpoch();
        FileFactory::pngWithText(
            entryFor(changed, u"large"_s), solid(Qt::red), "Thumb::MTime", QByteArray::number(changedTime - 60));
        FileFactory::pngWithText(
            entryFor(changed, u"normal"_s), solid(Qt::green), "Thumb::MTime", QByteArray::number(changedTime));
        QCOMPARE(QColor(thumbnailOf(changed).pixel(10, 10)), QColor(40, 120, 200));
        QCOMPARE(generations->order(), (QStringList {u"harbour.png"_s, u"changed.png"_s}));
        QCOMPARE(Thumbnailer::cached(changed, 256).pixel(10, 10), QColor(40, 120, 200).rgb());

        // A picture inside the thumbnail cache is shown but never becomes an entry of its own.
        QVERIFY(!thumbnailOf(entry).isNull());
        QCOMPARE(QDir(thumbnailFolder(u"large"_s)).entryList(QDir::Files | QDir::Hidden).size(), 3);
    }

    void destroyedWhileGenerating()
    {
        auto generations = std::make_shared<Generations>(0);
        const std::weak_ptr<Generations> inUse = generations;
        auto cache = std::make_unique<ThumbCache>(ThumbCache::kDefaultBudget, counted(generations), 2);
        QSignalSpy ready(cache.get(), &ThumbCache::ready);
        cache->request(photo(u"a.png"_s));
        cache->request(photo(u"b.png"_s));
        cache->request(photo(u"c.png"_s));
        QVERIFY(generations->entered.tryAcquire(2, 5000));

        cache.reset(); // the window closes while two pictures are being made
        generations->gate.release(kOpen);
        generations.reset();
        // The workers let go of the generator only after handing over (or dropping) their result.
        QTRY_VERIFY(inUse.expired());
        QCoreApplication::processEvents();
        QCOMPARE(ready.count(), 0);
    }

private:
    QString photo(const QString& name) const
    {
        const QString path = m_home->path() + u"/Downloads/"_s + name;
        FileFactory::png(path, 640, 480);
        return path;
    }

    std::unique_ptr<TempHome> m_home;
};

QTEST_GUILESS_MAIN(TestThumbCache)
#include "tst_thumb_cache.moc"
