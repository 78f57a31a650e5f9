#pragma once

#include <QCache>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QSet>
#include <QSize>
#include <QString>

#include <functional>
#include <list>
#include <memory>
#include <optional>

// Thumbnails for the review grid, made off the UI thread and kept in memory up to a budget.
// Requests are served newest first, so the tiles the person has just scrolled to come before
// those that scrolled past, and a tile that leaves the view withdraws its request with drop().
// A fresh picture in the desktop's thumbnail cache is used as it is; one made here is left there
// for the next review and for the file manager.
class ThumbCache : public QObject
{
    Q_OBJECT

public:
    // Makes a picture of the file that fits in `box`, or a null image when it has none. Runs on
    // worker threads, several at once.
    using Generator = std::function<QImage(const QString& path, QSize box)>;

    static constexpr QSize kTileSize {220, 165};
    static constexpr qint64 kDefaultBudget = 256LL * 1024 * 1024;
    static constexpr int kDefaultWorkers = 3;

    explicit ThumbCache(QObject* parent = nullptr);
    ThumbCache(qint64 budgetBytes, Generator generator, int workers, QObject* parent = nullptr);
    ~ThumbCache() override;

    // Asks for the thumbnail of `path` and returns at once; ready() follows once however often it
    // was asked meanwhile. Nothing happens when cached() already has the answer, except that a
    // file known to have no picture is tried again once it has changed.
    void request(const QString& path);
    // Withdraws a request that has not started: it is neither made nor announced.
    void drop(const QString& path);
    // The thumbnail in memory (a null image when the file is known to have none), or nothing
    // when it has not been made or was evicted since.
    std::optional<QImage> cached(const QString& path) const;
    qint64 memoryUsed() const;

signals:
    void ready(const QString& path, const QImage& image);

private:
    struct Shared;

    static void make(const std::shared_ptr<Shared>& shared, const QString& path);
    void startQueued();
    void finish(const QString& path, const QImage& image, qint64 modified);

    std::shared_ptr<Shared> m_shared;
    int m_workers;
    // Newest first, with each waiting path's place in it.
    std::list<QString> m_queue;
    QHash<QString, std::list<QString>::iterator> m_queued;
    QSet<QString> m_running;
    // Looking an image up counts as using it, also from the const paint path.
    mutable QCache<QString, QImage> m_images;
    // The modification time a file had when it gave no picture.
    QHash<QString, qint64> m_failed;
};
