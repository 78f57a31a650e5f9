#include "thumb_cache.h"

#include "platform/file_identity.h"
#include "platform/thumbnailer.h"

#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QThreadPool>

#include <algorithm>

namespace {

// The desktop keeps 128 and 256 pixel thumbnails; the smaller would be blown up in our tiles.
constexpr int kStoredSide = std::max(ThumbCache::kTileSize.width(), ThumbCache::kTileSize.height()) > 128 ? 256 : 128;
constexpr qint64 kTileBytes = qint64(ThumbCache::kTileSize.width()) * ThumbCache::kTileSize.height() * 4;

// Shared by every cache and never waited for, so closing the review window does not hang on a
// slow file; at exit the pool lets running pictures finish before Qt's image code goes away.
Q_GLOBAL_STATIC(QThreadPool, s_workers)

// In nanoseconds: a file rewritten within the same second must still count as changed.
qint64 modifiedOf(const FileIdentity& file)
{
    return file.exists() ? file.modifiedNs : -1;
}

} // namespace

struct ThumbCache::Shared
{
    Generator generator;
    QMutex mutex;
    // Cleared when the cache goes away, under the mutex, so a worker either posts its result
    // before that (and the event dies with the cache) or sees nobody to post to.
    ThumbCache* owner = nullptr;
};

ThumbCache::ThumbCache(QObject* parent)
    : ThumbCache(kDefaultBudget, Thumbnailer::thumbnail, kDefaultWorkers, parent)
{ }

ThumbCache::ThumbCache(qint64 budgetBytes, Generator generator, int workers, QObject* parent)
    : QObject(parent)
    , m_shared(std::make_shared<Shared>())
    , m_workers(std::max(1, workers))
{
    m_shared->generator = std::move(generator);
    m_shared->owner = this;
    // An image that cannot be kept would be asked for again by every repaint of its tile.
    m_images.setMaxCost(qsizetype(std::max(budgetBytes, kTileBytes)));
    s_workers->setMaxThreadCount(std::max(s_workers->maxThreadCount(), std::min(m_workers, 4)));
}

ThumbCache::~ThumbCache()
{
    const QMutexLocker lock(&m_shared->mutex);
    m_shared->owner = nullptr;
}

void ThumbCache::request(const QString& path)
{
    if (m_running.contains(path) || m_images.contains(path))
        return;
    if (const auto failed = m_failed.constFind(path); failed != m_failed.cend()) {
        if (modifiedOf(FileIdentity::of(path)) == *failed)
            return;
        m_failed.erase(failed);
    }
    if (const auto queued = m_queued.constFind(path); queued != m_queued.cend()) {
        m_queue.splice(m_queue.begin(), m_queue, *queued);
    } else {
        m_queue.push_front(path);
        m_queued.insert(path, m_queue.begin());
    }
    startQueued();
}

void ThumbCache::drop(const QString& path)
{
    const auto queued = m_queued.find(path);
    if (queued == m_queued.end())
        return;
    m_queue.erase(*queued);
    m_queued.erase(queued);
}

std::optional<QImage> ThumbCache::cached(const QString& path) const
{
    if (const QImage* image = m_images.object(path))
        return *image;
    if (m_failed.contains(path))
        return QImage();
    return std::nullopt;
}

qint64 ThumbCache::memoryUsed() const
{
    return m_images.totalCost();
}

void ThumbCache::startQueued()
{
    // Only as many jobs as workers leave the queue, so the rest can still be reordered or dropped.
    while (m_running.size() < m_workers && !m_queue.empty()) {
        const QString path = m_queue.front();
        m_queue.pop_front();
        m_queued.remove(path);
        m_running.insert(path);
        s_workers->start([shared = m_shared, path] { make(shared, path); });
    }
}

void ThumbCache::make(const std::shared_ptr<Shared>& shared, const QString& path)
{
    const FileIdentity file = FileIdentity::of(path);
    QImage image;
    if (file.isRegular()) {
        image = Thumbnailer::cached(path, kStoredSide);
        if (image.isNull()) {
            image = shared->generator(path, QSize(kStoredSide, kStoredSide));
            // Without a writable cache the picture is still good for this review.
            if (!image.isNull())
                Thumbnailer::store(path, image, file.modifiedSeconds(), kStoredSide);
        }
    }
    if (image.width() > kTileSize.width() || image.height() > kTileSize.height())
        image = image.scaled(kTileSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    // The format painting is fastest with, which also makes the memory budget count true pixels.
    if (!image.isNull())
        image.convertTo(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);

    const qint64 modified = modifiedOf(file);
    const QMutexLocker lock(&shared->mutex);
    if (ThumbCache* owner = shared->owner) {
        QMetaObject::invokeMethod(
            owner, [owner, path, image, modified] { owner->finish(path, image, modified); }, Qt::QueuedConnection);
    }
}

void ThumbCache::finish(const QString& path, const QImage& image, qint64 modified)
{
    m_running.remove(path);
    if (image.isNull())
        m_failed.insert(path, modified);
    else
        m_images.insert(path, new QImage(image), image.sizeInBytes());
    emit ready(path, image);
    startQueued();
}
