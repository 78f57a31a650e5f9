#pragma once

#include "enrichment_cache.h"
#include "model/scanned_item.h"

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

// Exact duplicates among the scanned files.
namespace Scanner {

constexpr qint64 kWholeHashLimit = 500000000;
// Reads of this size stay in the core's own cache between the read and the hash, which makes
// hashing several percent faster than with megabyte reads.
constexpr qint64 kHashChunk = 262144;
constexpr qint64 kSampleBytes = 4000000;
constexpr qint64 kPrefixBytes = 4096;

// SHA-256 of the file's content as 64 lower-case hex digits: the whole file up to 500,000,000
// bytes, above that its size and three samples (start, middle, end). Nothing when the file
// cannot be opened or a read fails: a key of part of a file would pair it with strangers.
std::optional<QString> sha(const QString& path, qint64 size);
// sha() of each (path, size), on every core: hashing is bound by the processor, not the disk,
// once the files are in the page cache.
QList<std::optional<QString>> shas(const QList<std::pair<QString, qint64>>& files);

// The first eight bytes of the SHA-256 of `bytes`, big-endian. Kept in the scan cache, so it must
// come out the same in every build and every process.
quint64 prefixKey(QByteArrayView bytes);
// prefixKey of a file's first 4 KiB (all of it when shorter). Nothing when it cannot be read.
std::optional<quint64> prefixHash(const QString& path);

// Marks as an exact duplicate every member of a set of identical files but the kept copy, and
// gives each of them the kept copy's path. The kept copy is one outside the `landing` folders
// (the desktop's Desktop and Downloads, absolute) when there is one, then one without a
// copy-style name, then the shorter name, then the smaller path. Only files that share their
// size and their first 4 KiB with another file are read in full, in parallel; a file that
// cannot be read is in no set.
void markDuplicates(QList<ScannedItem>& items, const QStringList& landing = {});

// The same, reusing the prefix hashes and content keys already in `facts` (which runs parallel
// to `items`, from the cache of unchanged files) and recording the ones computed here.
void markDuplicates(QList<ScannedItem>& items, QList<CachedFacts>& facts, const QStringList& landing = {});

} // namespace Scanner
