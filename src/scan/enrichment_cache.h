#pragma once

#include <QHash>
#include <QString>

#include <optional>

// What identifies one version of a file: any change to it (a write, a rename over it, a changed
// extended attribute) changes at least one of these.
struct FileStamp
{
    qint64 size = 0;
    qint64 modifiedNs = 0;
    quint64 inode = 0;
    qint64 changedNs = 0;

    bool operator==(const FileStamp&) const = default;
};

// The expensive facts about one file version, worth keeping between scans.
struct CachedFacts
{
    FileStamp stamp;
    std::optional<QString> text; // snippet or folder summary
    std::optional<QString> whereFrom;
    std::optional<quint64> prefixHash; // of the first 4 KiB, to rule out most same-size files
    std::optional<QString> contentKey; // SHA-256, hex
    // Shared by files found byte-identical by comparison rather than by key: they stay identical
    // for as long as none of them changes, which saves hashing them at all.
    std::optional<QString> identicalGroup;
    std::optional<bool> projectMarker; // a folder holds .git, package.json, ...; its entries changed if not

    bool operator==(const CachedFacts&) const = default;
};

// The scan's memory of files it has described before, kept in the support folder. The file
// carries a checksum: a damaged, truncated or foreign file is ignored and rebuilt, never trusted.
class EnrichmentCache
{
public:
    static EnrichmentCache load(const QString& file);
    // Writes the cache atomically when it changed since it was loaded or saved; failures are
    // dropped (the next scan just works harder).
    void save(const QString& file) const;

    // The facts for `path` when they were recorded for exactly this version of the file.
    const CachedFacts* find(const QString& path, const FileStamp& stamp) const;
    // Records the facts of a file seen by this scan.
    void put(const QString& path, const CachedFacts& facts);
    // Notes that the file was seen by this scan when its entry already holds exactly these
    // facts, and says whether it did. Safe to call from several threads at once for different
    // paths, as long as nothing is put meanwhile.
    bool confirm(const QString& path, const CachedFacts& facts);
    // Drops the entry of a file the scan must not remember, whatever an earlier scan knew of it.
    void forget(const QString& path);
    // Drops entries of files that no longer exist, keeping the cache from growing forever. Only
    // entries this scan did not put are checked: the others were just seen on disk.
    void pruneMissing();

    qsizetype size() const;

    static constexpr qsizetype kMaxEntries = 200000;

private:
    struct Entry
    {
        CachedFacts facts;
        bool seen = false;
    };
    QHash<QString, Entry> m_entries;
    // A cache that did not load (missing, damaged) counts as changed, so that it is rewritten.
    mutable bool m_changed = true;
};
