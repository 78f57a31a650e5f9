#include "scanner.h"

#include "duplicates.h"
#include "enrichment.h"
#include "enrichment_cache.h"
#include "kinds.h"
#include "model/home_tree.h"
#include "model/name_pattern.h"
#include "model/store.h"
#include "platform/directory_listing.h"
#include "platform/download_origin.h"
#include "scan_hooks.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSemaphore>
#include <QThreadPool>
#include <QtConcurrent>

#include <atomic>

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

// A name is kept only when it survives the trip to text and back unchanged (see scanner.h).
std::optional<QString> decodeName(const char* raw)
{
    const QByteArray bytes(raw);
    QString name = QFile::decodeName(bytes);
    if (QFile::encodeName(name) != bytes)
        return std::nullopt;
    return name;
}

bool hasProjectMarker(const DirectoryListing& root, const QByteArray& folderName)
{
    for (const QString& marker : projectMarkers()) {
        const QByteArray path = folderName + '/' + marker.toUtf8();
        if (root.identityOf(path.constData(), FileIdentity::Links::follow).exists())
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
    QString path;
    const DirectoryListing* listing = nullptr;
    QByteArray raw;
    CachedFacts facts;
    bool known = false;
    // Looked up for the person's rules before the file was described.
    std::optional<DownloadOrigin::Lookup> origin;
};

// The bare item for one entry of a root, or nothing when the walk leaves it out. Folders get
// their kind later, once the cache can tell whether they hold a project.
std::optional<Found>
examine(const DirectoryListing& listing, const QByteArray& raw, const QStringList& excluded, const ScanOptions& options)
{
    const FileIdentity info = listing.identityOf(raw.constData(), FileIdentity::Links::describe);
    // Links are neither taken nor followed; pipes, sockets and devices are not documents,
    // and opening a pipe could block the walk.
    const bool isDir = info.isDir();
    if (!isDir && !info.isRegular())
        return std::nullopt;
    const std::optional<QString> name = decodeName(raw.constData());
    if (!name)
        return std::nullopt;
    const QString path = listing.path() + u'/' + *name;
    const QDateTime modified = QDateTime::fromMSecsSinceEpoch(info.modifiedMs(), Qt::UTC);
    if (options.since && modified < *options.since)
        return std::nullopt;
    if (isDir) {
        if (skipDirNames().contains(*name) || appFolderNames().contains(*name) || name->startsWith(u'.')
            || isExcluded(path, excluded))
            return std::nullopt;
    } else if (skipFileNames().contains(*name) || name->startsWith(u"._"_s)
               || (name->startsWith(u'.') && !isBrowserDownloadName(*name))) {
        return std::nullopt;
    }
    Found found;
    found.stamp = {info.size, info.modifiedNs, info.inode, info.changedNs};
    ScannedItem& item = found.item;
    item.name = *name;
    item.ext = Kinds::extension(*name);
    item.isDir = isDir;
    item.modified = modified;
    if (!isDir) {
        item.kind = Kinds::map().value(item.ext, FileKind::other);
        item.size = info.size;
    }
    item.url = QUrl::fromLocalFile(path);
    found.path = path;
    found.listing = &listing;
    found.raw = raw;
    return found;
}

// A folder's kind: a project when it holds a marker (or is a bundle, which is one document).
// A marker comes or goes only with a change to the folder's own entries, which changes its
// stamp: an unchanged folder keeps the answer of the last scan.
void settleFolder(Found& found, const CachedFacts* cached)
{
    ScannedItem& item = found.item;
    if (!Kinds::bundleExtensions().contains(item.ext))
        found.projectMarker
            = cached && cached->projectMarker ? *cached->projectMarker : hasProjectMarker(*found.listing, found.raw);
    const bool whole = !found.projectMarker || *found.projectMarker;
    item.kind = whole ? Kinds::kind(found.path, true) : FileKind::folder;
}

// What the person's rules see of an entry: its listing, and the site it came from (only when a
// rule asks, and only from the cache or the download-origin attribute, never from its contents).
RuleSubject subjectOf(Found& found, const CachedFacts* cached, const QString& folder, bool askSite)
{
    const ScannedItem& item = found.item;
    RuleSubject subject {item.name, NamePattern::fold(item.name), item.kind, item.size, folder, std::nullopt};
    if (askSite && !item.isDir) {
        if (cached) {
            subject.site = UserRule::siteOf(cached->whereFrom);
        } else {
            found.origin = DownloadOrigin::lookUp(found.path);
            subject.site = UserRule::siteOf(found.origin->origin);
        }
    }
    return subject;
}

// Fills in the snippet or summary, origin and hints, from the cache when the file is unchanged.
// False when a read failed: what it gave is no fact about the file.
bool describe(ScannedItem& item,
              const QString& path,
              CachedFacts& facts,
              bool cached,
              const std::optional<DownloadOrigin::Lookup>& origin,
              const std::optional<QString>& downloads)
{
    bool read = true;
    if (!cached) {
        ScanHooks::beforeReading(path);
        if (item.kind == FileKind::folder) {
            // A folder that can be listed always has a summary, "Empty folder" at least.
            facts.text = peek(path);
            read = facts.text.has_value();
        } else if (!item.isDir) {
            const FileEvidence evidence = fileEvidence(path, item.ext, item.size, origin);
            facts.whereFrom = evidence.whereFrom;
            facts.text = evidence.text;
            read = !evidence.failed;
        }
    }
    item.text = facts.text;
    item.whereFrom = facts.whereFrom;
    item.junkHints = hints(item, downloads);
    return read;
}

QString cacheFile()
{
    return Store::dir() + u"/scan-cache.bin"_s;
}

bool stopped(const Cancellation* cancellation)
{
    return cancellation && cancellation->isCancelled();
}

QList<qsizetype> positions(qsizetype count)
{
    QList<qsizetype> result(count);
    std::iota(result.begin(), result.end(), 0);
    return result;
}

// Every root's entries in listing order, with holes where the walk leaves one out. The listings
// stay open: folders are settled relative to them.
struct Examined
{
    std::vector<DirectoryListing> listings;
    QList<std::optional<Found>> found;
    EnrichmentCache cache;
    // Beside `found`: the paths of the entries the person's rules left alone.
    QStringList leftAlone;
};

// What the walk keeps, in item order, with what the cache needs beside each item.
struct Kept
{
    QList<ScannedItem> items;
    QList<CachedFacts> facts;
    QList<char> known;
    QList<char> failed; // a read failed: nothing of the item is remembered
    QStringList paths;
    QList<std::optional<DownloadOrigin::Lookup>> origins;
};

QStringList excludedFolders(const ScanOptions& options)
{
    QStringList excluded;
    for (const QUrl& url : options.exclude)
        excluded.append(QDir::cleanPath(QDir(url.toLocalFile()).absolutePath()));
    return excluded;
}

// The cache loads while the folders are listed, and whoever is done first looks up entries
// (a system call apiece) until none are left, so every core has exactly one thing to do.
// Results land in place, in listing order.
Examined examineRoots(QThreadPool& pool, const ScanOptions& options, const QString& cachePath)
{
    const QStringList excluded = excludedFolders(options);
    Examined examined;
    QList<std::pair<const DirectoryListing*, QByteArray>> entries;
    QSemaphore listed;
    std::atomic<qsizetype> next {0};
    const auto examineRest = [&] {
        for (qsizetype i = next++; i < entries.size(); i = next++)
            examined.found[i] = examine(*entries[i].first, entries[i].second, excluded, options);
    };
    const int helpers = pool.maxThreadCount() - 1;
    QFuture<EnrichmentCache> loading = QtConcurrent::run(&pool, [&] {
        EnrichmentCache loaded = EnrichmentCache::load(cachePath);
        listed.acquire();
        examineRest();
        return loaded;
    });
    QList<QFuture<void>> examining;
    for (int helper = 1; helper < helpers; ++helper) {
        examining.append(QtConcurrent::run(&pool, [&] {
            listed.acquire();
            examineRest();
        }));
    }

    examined.listings.reserve(options.roots.size());
    for (const QUrl& root : options.roots)
        examined.listings.push_back(DirectoryListing::read(QDir::cleanPath(QDir(root.toLocalFile()).absolutePath())));
    for (const DirectoryListing& listing : examined.listings) {
        for (const QByteArray& name : listing.names())
            entries.append({&listing, name});
    }
    examined.found.resize(entries.size());
    examined.leftAlone.resize(entries.size());
    listed.release(helpers);
    examineRest();
    for (QFuture<void>& helper : examining)
        helper.waitForFinished();
    examined.cache = loading.takeResult();
    return examined;
}

// The scan folder of each listing as the person's rules name it, relative to the home folder.
QStringList ruleFolders(const Examined& examined, const ScanOptions& options)
{
    QStringList folders;
    if (!options.leftAlone)
        return folders;
    for (const DirectoryListing& listing : examined.listings)
        folders.append(RuleSubject::folderOf(listing.path() + u"/-"_s, options.home));
    return folders;
}

// Folders get their kind, and every entry the facts the cache holds for its version. Then the
// person's rules may take an entry out of the walk, before anything is read from it.
void lookUpCached(QThreadPool& pool, Examined& examined, const QList<qsizetype>& indices, const ScanOptions& options)
{
    const QStringList folders = ruleFolders(examined, options);
    QtConcurrent::blockingMap(&pool, indices, [&](qsizetype i) {
        std::optional<Found>& found = examined.found[i];
        if (!found)
            return;
        const CachedFacts* cached = examined.cache.find(found->path, found->stamp);
        if (found->item.isDir)
            settleFolder(*found, cached);
        if (options.leftAlone) {
            const QString& folder = folders[found->listing - examined.listings.data()];
            if (options.leftAlone(subjectOf(*found, cached, folder, options.askSite))) {
                examined.leftAlone[i] = std::move(found->path);
                found.reset();
                return;
            }
        }
        found->known = cached != nullptr;
        found->facts = cached ? *cached : CachedFacts {found->stamp, {}, {}, {}, {}, {}, {}};
        found->facts.projectMarker = found->projectMarker;
    });
}

// What the walk keeps moves into place on every core, each entry to the position that the
// entries kept before it leave for it.
Kept keepFound(QThreadPool& pool, QList<std::optional<Found>>& examined, const QList<qsizetype>& indices)
{
    QList<qsizetype> destination(examined.size());
    qsizetype count = 0;
    for (qsizetype i = 0; i < examined.size(); ++i)
        destination[i] = examined[i] ? count++ : -1;
    Kept kept {QList<ScannedItem>(count),
               QList<CachedFacts>(count),
               QList<char>(count),
               QList<char>(count),
               QStringList(count),
               QList<std::optional<DownloadOrigin::Lookup>>(count)};
    QtConcurrent::blockingMap(&pool, indices, [&](qsizetype i) {
        std::optional<Found>& found = examined[i];
        if (!found)
            return;
        const qsizetype at = destination[i];
        found->item.id = at;
        kept.known[at] = found->known;
        kept.facts[at] = std::move(found->facts);
        kept.items[at] = std::move(found->item);
        kept.paths[at] = std::move(found->path);
        kept.origins[at] = std::move(found->origin);
        found.reset();
    });
    return kept;
}

// Describing is independent per item and goes in steps of 100 over every core. Workers count
// the steps they finish, so progress is told in order, every 100 items, on this thread.
void describeAll(QThreadPool& pool,
                 Kept& kept,
                 const ScanOptions& options,
                 const Progress& progress,
                 const Cancellation* cancellation)
{
    const qsizetype count = kept.items.size();
    QSemaphore stepsDone;
    QList<qsizetype> steps;
    for (qsizetype begin = 0; begin < count; begin += kProgressStep)
        steps.append(begin);
    QFuture<void> describing = QtConcurrent::map(&pool, steps, [&](qsizetype begin) {
        const qsizetype end = std::min(begin + kProgressStep, count);
        for (qsizetype i = begin; i < end && !stopped(cancellation); ++i)
            kept.failed[i] = !describe(
                kept.items[i], kept.paths[i], kept.facts[i], kept.known[i], kept.origins[i], options.downloads);
        stepsDone.release();
    });
    for (qsizetype step = 0; step < steps.size() && !stopped(cancellation); ++step) {
        stepsDone.acquire();
        const qsizetype done = std::min((step + 1) * kProgressStep, count);
        if (progress && done % kProgressStep == 0)
            progress(int(done));
    }
    describing.waitForFinished();
}

// Most files are unchanged: their entries are confirmed on every core, and only the rest are
// written into the cache one by one; a file whose reads failed is left for the next scan. What
// the person's rules leave alone is forgotten, whatever an earlier scan learned of it.
void remember(QThreadPool& pool, EnrichmentCache& cache, const Kept& kept, const QStringList& leftAlone)
{
    for (const QString& path : leftAlone) {
        if (!path.isEmpty())
            cache.forget(path);
    }
    QList<char> confirmed(kept.items.size());
    const QList<qsizetype> indices = positions(kept.items.size());
    QtConcurrent::blockingMap(&pool, indices, [&](qsizetype i) {
        confirmed[i] = kept.known[i] && cache.confirm(kept.paths[i], kept.facts[i]);
    });
    for (qsizetype i = 0; i < kept.items.size(); ++i) {
        if (!confirmed[i] && !kept.failed[i])
            cache.put(kept.paths[i], kept.facts[i]);
    }
    cache.pruneMissing();
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
                                              u"TV",
                                              u"Music",
                                              u"Lightroom",
                                              u"Photo Booth Library"})
        + QSet<QString>(HomeTree::ownFolders().cbegin(), HomeTree::ownFolders().cend());
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
    // Each browser writes an unfinished download to a hidden temporary named after itself: its
    // application id on macOS, a fixed name per browser on Linux (Chrome, Edge, Brave, Opera and
    // Vivaldi; Chromium and the builds without a brand of their own use Chromium's), followed by
    // the random part. No other hidden name is a download.
    static const QRegularExpression pattern(
        u"^\\.(com\\.(brave\\.Browser|google\\.Chrome|microsoft\\.edgemac|microsoft\\.Edge|apple\\.Safari"
        u"|opera\\.Opera|operasoftware\\.Opera|vivaldi\\.Vivaldi)|org\\.chromium\\.Chromium)\\.[^/]+$"_s,
        QRegularExpression::CaseInsensitiveOption);
    // Only hidden names can match, and most names are not hidden.
    return name.startsWith(u'.') && pattern.match(name).hasMatch();
}

QList<ScannedItem> run(const ScanOptions& options, const Progress& progress, const Cancellation* cancellation)
{
    QThreadPool pool;
    pool.setMaxThreadCount(std::max(2, QThread::idealThreadCount()));
    const QString cachePath = cacheFile();
    Examined examined = examineRoots(pool, options, cachePath);
    const QList<qsizetype> indices = positions(examined.found.size());
    lookUpCached(pool, examined, indices, options);
    if (stopped(cancellation))
        return {};
    Kept kept = keepFound(pool, examined.found, indices);
    examined.found.clear();
    examined.listings.clear();

    describeAll(pool, kept, options, progress, cancellation);
    if (stopped(cancellation))
        return {};
    if (progress)
        progress(int(kept.items.size()));
    QStringList landing;
    for (const std::optional<QString>& folder : {options.desktop, options.downloads}) {
        if (folder)
            landing.append(*folder);
    }
    markDuplicates(kept.items, kept.facts, landing);
    remember(pool, examined.cache, kept, examined.leftAlone);
    examined.cache.save(cachePath);
    return std::move(kept.items);
}

} // namespace Scanner
