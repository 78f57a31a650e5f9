#include "scanner.h"

#include "duplicates.h"
#include "enrichment.h"
#include "enrichment_cache.h"
#include "kinds.h"
#include "model/store.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QThreadPool>
#include <QtConcurrent>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace Scanner {

namespace {

// Progress is reported, and enrichment fans out, in steps of this many items.
constexpr qsizetype kProgressStep = 100;

QSet<QString> setOf(std::initializer_list<const char16_t*> names)
{
    QSet<QString> result;
    for (const char16_t* name : names)
        result.insert(QString::fromUtf16(name));
    return result;
}

qint64 nanoseconds(const timespec& time)
{
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

QDateTime dateOf(const timespec& time)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000, Qt::UTC);
}

// A name is kept only when it survives the trip to text and back unchanged (see scanner.h).
std::optional<QString> decodeName(const char* raw)
{
    const QByteArray bytes(raw);
    QString name = QFile::decodeName(bytes);
    if (QFile::encodeName(name) != bytes)
        return std::nullopt;
    return name;
}

bool hasProjectMarker(int rootFd, const QByteArray& folderName)
{
    for (const QString& marker : projectMarkers()) {
        struct stat info
        { };
        if (::fstatat(rootFd, QByteArray(folderName + '/' + marker.toUtf8()).constData(), &info, 0) == 0)
            return true;
    }
    return false;
}

bool isExcluded(const QString& path, const QStringList& excluded)
{
    for (const QString& folder : excluded) {
        if (path == folder || path.startsWith(folder + u'/'))
            return true;
    }
    return false;
}

struct Found
{
    ScannedItem item;
    FileStamp stamp;
    std::optional<bool> projectMarker;
};

// Lists one root's direct children in the file system's order and builds their bare items.
void listRoot(const QString& root,
              const QStringList& excluded,
              const ScanOptions& options,
              const EnrichmentCache& cache,
              QList<Found>& found)
{
    DIR* dir = ::opendir(QFile::encodeName(root).constData());
    if (!dir)
        return;
    const int rootFd = ::dirfd(dir);
    while (const dirent* entry = ::readdir(dir)) {
        const char* raw = entry->d_name;
        if (qstrcmp(raw, ".") == 0 || qstrcmp(raw, "..") == 0)
            continue;
        struct stat info
        { };
        if (::fstatat(rootFd, raw, &info, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        // Links are neither taken nor followed; pipes, sockets and devices are not documents,
        // and opening a pipe could block the walk.
        const bool isDir = S_ISDIR(info.st_mode);
        if (!isDir && !S_ISREG(info.st_mode))
            continue;
        const std::optional<QString> name = decodeName(raw);
        if (!name)
            continue;
        const QString path = root + u'/' + *name;
        const QDateTime modified = dateOf(info.st_mtim);

        const FileStamp stamp {info.st_size, nanoseconds(info.st_mtim), info.st_ino, nanoseconds(info.st_ctim)};
        std::optional<bool> marker;
        ScannedItem item;
        item.name = *name;
        item.ext = Kinds::extension(*name);
        item.isDir = isDir;
        item.modified = modified;
        if (isDir) {
            if (skipDirNames().contains(*name) || appFolderNames().contains(*name) || name->startsWith(u'.')
                || isExcluded(path, excluded))
                continue;
            // A marker comes or goes only with a change to the folder's own entries, which changes
            // its stamp: an unchanged folder keeps the answer of the last scan.
            if (!Kinds::bundleExtensions().contains(item.ext)) {
                const CachedFacts* cached = cache.find(path, stamp);
                marker = cached && cached->projectMarker ? *cached->projectMarker : hasProjectMarker(rootFd, raw);
            }
            const bool whole = !marker || *marker;
            if (options.since && modified < *options.since)
                continue;
            item.kind = whole ? Kinds::kind(path, true) : FileKind::folder;
        } else {
            if (skipFileNames().contains(*name) || name->startsWith(u"._"_s)
                || (name->startsWith(u'.') && !isBrowserDownloadName(*name)))
                continue;
            if (options.since && modified < *options.since)
                continue;
            item.kind = Kinds::map().value(item.ext, FileKind::other);
            item.size = info.st_size;
        }
        item.url = QUrl::fromLocalFile(path);
        found.append({std::move(item), stamp, marker});
    }
    ::closedir(dir);
}

// Fills in the snippet or summary, origin and hints, from the cache when the file is unchanged.
void describe(ScannedItem& item, CachedFacts& facts, bool cached)
{
    const QString path = item.url.toLocalFile();
    if (!cached) {
        if (item.kind == FileKind::folder) {
            facts.text = peek(path);
        } else if (!item.isDir) {
            facts.whereFrom = whereFrom(path);
            facts.text = snippet(path, item.ext, item.size);
        }
    }
    item.text = facts.text;
    item.whereFrom = facts.whereFrom;
    item.junkHints = hints(item);
}

QString cacheFile()
{
    return Store::dir() + u"/scan-cache.bin"_s;
}

} // namespace

const QSet<QString>& skipDirNames()
{
    static const QSet<QString> names
        = setOf({u".Trash", u"Library", u"node_modules", u".cache", u"__pycache__", u"Photos Library.photoslibrary"});
    return names;
}

const QSet<QString>& appFolderNames()
{
    static const QSet<QString> names = setOf({u"Adobe",
                                              u"Microsoft",
                                              u"Microsoft User Data",
                                              u"Zoom",
                                              u"Steam",
                                              u"Blackmagic Design",
                                              u"Native Instruments",
                                              u"Image-Line",
                                              u"Ableton",
                                              u"Rockstar Games",
                                              u"My Games",
                                              u"Roblox",
                                              u"Unreal Projects",
                                              u"Final Cut Pro",
                                              u"Motion Templates",
                                              u"Motion Templates.localized",
                                              u"Final Cut Backups",
                                              u"Final Cut Backups.localized",
                                              u"CapCut",
                                              u"JianyingPro",
                                              u"Loom",
                                              u"Screen Studio Projects",
                                              u"Xcode",
                                              u"GitHub",
                                              u"Arduino",
                                              u"Processing",
                                              u"Blender",
                                              u"Electronic Arts",
                                              u"League of Legends",
                                              u"Riot Games",
                                              u"Telegram Desktop",
                                              u"WhatsApp",
                                              u"Claude",
                                              u"Cursor",
                                              u"Figma",
                                              u"OBS",
                                              u"Logic",
                                              u"GarageBand",
                                              u"Audio Music Apps",
                                              u"Avid",
                                              u"Pro Tools",
                                              u"Davinci Resolve",
                                              u"DaVinci Resolve",
                                              u"Parallels",
                                              u"Virtual Machines",
                                              u"VirtualBox VMs",
                                              u"Docker",
                                              u"Brindlow App",
                                              u"Quillmere",
                                              u"Brindlow Review",
                                              u"TV",
                                              u"Music",
                                              u"Lightroom",
                                              u"Photo Booth Library"});
    return names;
}

const QSet<QString>& skipFileNames()
{
    static const QSet<QString> names
        = setOf({u".DS_Store", u".localized", u"Icon\r", u".com.apple.timemachine.donotpresent"});
    return names;
}

const QStringList& projectMarkers()
{
    static const QStringList markers {u".git"_s,
                                      u"package.json"_s,
                                      u"Cargo.toml"_s,
                                      u"pyproject.toml"_s,
                                      u"go.mod"_s,
                                      u"foundry.toml"_s,
                                      u"hardhat.config.js"_s,
                                      u"hardhat.config.ts"_s,
                                      u"Anchor.toml"_s,
                                      u"Gemfile"_s,
                                      u"requirements.txt"_s,
                                      u"Package.swift"_s};
    return markers;
}

bool isBrowserDownloadName(const QString& name)
{
    static const QRegularExpression pattern(
        u"^\\.com\\.(brave\\.Browser|google\\.Chrome|microsoft\\.edgemac|apple\\.Safari)\\."_s,
        QRegularExpression::CaseInsensitiveOption);
    return pattern.match(name).hasMatch();
}

QList<ScannedItem> run(const ScanOptions& options, const Progress& progress, const Cancellation* cancellation)
{
    const auto cancelled = [cancellation] { return cancellation && cancellation->isCancelled(); };
    QStringList excluded;
    for (const QUrl& url : options.exclude)
        excluded.append(QDir::cleanPath(QDir(url.toLocalFile()).absolutePath()));

    const QString cachePath = cacheFile();
    EnrichmentCache cache = EnrichmentCache::load(cachePath);
    QList<Found> found;
    for (const QUrl& root : options.roots) {
        if (cancelled())
            return {};
        listRoot(QDir::cleanPath(QDir(root.toLocalFile()).absolutePath()), excluded, options, cache, found);
    }

    QList<ScannedItem> items(found.size());
    QList<CachedFacts> facts(found.size());
    QList<char> known(found.size());
    for (qsizetype i = 0; i < found.size(); ++i) {
        items[i] = std::move(found[i].item);
        items[i].id = i;
        const CachedFacts* cached = cache.find(items[i].url.toLocalFile(), found[i].stamp);
        known[i] = cached != nullptr;
        facts[i] = cached ? *cached : CachedFacts {found[i].stamp, {}, {}, {}, {}, {}, {}};
        facts[i].projectMarker = found[i].projectMarker;
    }
    found.clear();

    // Describing is independent per item; the steps keep progress reports in order.
    QThreadPool pool;
    pool.setMaxThreadCount(std::max(2, QThread::idealThreadCount()));
    QList<qsizetype> positions(items.size());
    std::iota(positions.begin(), positions.end(), 0);
    for (qsizetype begin = 0; begin < items.size(); begin += kProgressStep) {
        if (cancelled())
            return {};
        const qsizetype end = std::min(begin + kProgressStep, items.size());
        QtConcurrent::blockingMap(&pool, positions.begin() + begin, positions.begin() + end, [&](qsizetype i) {
            describe(items[i], facts[i], known[i]);
        });
        if (progress && end % kProgressStep == 0)
            progress(int(end));
    }
    if (progress)
        progress(int(items.size()));

    if (cancelled())
        return {};
    markDuplicates(items, facts);

    for (qsizetype i = 0; i < items.size(); ++i)
        cache.put(items[i].url.toLocalFile(), facts[i]);
    cache.pruneMissing();
    cache.save(cachePath);
    return items;
}

} // namespace Scanner
