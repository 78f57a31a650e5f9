#include "duplicates.h"

#include "model/graphemes.h"
#include "model/user_folders.h"
#include "platform/file_io.h"

#include <QFile>
#include <QHash>
#include <QtConcurrent>

#include <openssl/evp.h>

#include <algorithm>
#include <cstring>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace Scanner {

namespace {

struct DigestDeleter
{
    void operator()(EVP_MD_CTX* context) const
    {
        EVP_MD_CTX_free(context);
    }
};

QString hex(const unsigned char* digest, unsigned int length)
{
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(digest), length).toHex());
}

} // namespace

quint64 prefixKey(QByteArrayView bytes)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(bytes.constData(), size_t(bytes.size()), digest, &length, EVP_sha256(), nullptr);
    quint64 key = 0;
    for (int i = 0; i < 8; ++i)
        key = (key << 8) | digest[i];
    return key;
}

std::optional<quint64> prefixHash(const QString& path)
{
    const UniqueFd fd = FileIo::openForReading(path);
    if (!fd.valid())
        return std::nullopt;
    char buffer[kPrefixBytes];
    const qint64 got = fd.readFully(buffer, kPrefixBytes);
    if (got < 0)
        return std::nullopt;
    return prefixKey(QByteArrayView(buffer, got));
}

namespace {

// Whether two files of the same size hold the same bytes. Reads both in step and stops at the
// first difference, so files that merely share a header cost little. A file that fails to read
// equals nothing.
bool sameContent(const QString& a, const QString& b)
{
    const UniqueFd first = FileIo::openForReading(a);
    const UniqueFd second = FileIo::openForReading(b);
    if (!first.valid() || !second.valid())
        return false;
    qint64 chunk = 64 * 1024;
    std::unique_ptr<char[]> left(new char[kHashChunk]);
    std::unique_ptr<char[]> right(new char[kHashChunk]);
    for (;;) {
        const qint64 got = first.readFully(left.get(), chunk);
        if (got < 0 || second.readFully(right.get(), chunk) != got || memcmp(left.get(), right.get(), size_t(got)) != 0)
            return false;
        if (got < chunk)
            return true;
        chunk = std::min(chunk * 2, kHashChunk);
    }
}

struct ContentClass
{
    qsizetype representative;
    QList<qsizetype> members;
};

// More distinct contents than this in one group of same-size, same-start files and comparing
// each newcomer with every class costs more than hashing it.
constexpr qsizetype kMaxComparedClasses = 8;

// What a file was already known to be identical to: its content key, or else the group it was
// found byte-identical with. The two never equal each other.
std::optional<QString> knownIdentity(const CachedFacts& facts)
{
    if (facts.contentKey)
        return u'k' + *facts.contentKey;
    if (facts.identicalGroup)
        return u'g' + *facts.identicalGroup;
    return std::nullopt;
}

// A name for a group of files found identical by comparison: taken from one member's path and
// version, so no other group made from another file, or from another version of it, shares it.
QString newGroupName(const QString& path, const FileStamp& stamp)
{
    const QByteArray seed = QFile::encodeName(path) + '\0' + QByteArray::number(stamp.size) + ':'
        + QByteArray::number(stamp.modifiedNs) + ':' + QByteArray::number(stamp.inode) + ':'
        + QByteArray::number(stamp.changedNs);
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(seed.constData(), size_t(seed.size()), digest, &length, EVP_sha256(), nullptr);
    return hex(digest, 16);
}

// The files of one group of equal size and equal first 4 KiB, sorted into classes of equal
// content as they are met.
struct Comparison
{
    const QList<ScannedItem>& items;
    QList<CachedFacts>& facts;
    qint64 size;
    QList<ContentClass> classes;

    QString pathOf(qsizetype position) const
    {
        return items[position].url.toLocalFile();
    }
    const std::optional<QString>& keyOf(qsizetype position)
    {
        if (!facts[position].contentKey)
            facts[position].contentKey = sha(pathOf(position), size);
        return facts[position].contentKey;
    }
    bool same(qsizetype a, qsizetype b, bool byKey)
    {
        if (byKey || (facts[a].contentKey && facts[b].contentKey))
            return keyOf(a) && keyOf(b) == keyOf(a);
        return sameContent(pathOf(a), pathOf(b));
    }
    // Files above the whole-hash limit are matched by their sampled keys, as those keys do not
    // cover every byte; and past a few classes, hashing a newcomer is cheaper than comparing.
    bool byKey() const
    {
        return size > kWholeHashLimit || classes.size() >= kMaxComparedClasses;
    }
    // The class whose representative equals `position`, or -1.
    qsizetype equalClass(qsizetype position, bool byKey)
    {
        const auto equal = std::find_if(classes.begin(), classes.end(), [&](const ContentClass& candidate) {
            return same(candidate.representative, position, byKey);
        });
        return equal == classes.end() ? -1 : equal - classes.begin();
    }
};

// Files known from earlier scans form their classes without being read. Classes of different
// names may still hold equal files (found in scans of different folders), so their
// representatives are compared once.
void sortKnown(Comparison& comparison, const QList<qsizetype>& group)
{
    QList<ContentClass>& classes = comparison.classes;
    QHash<QString, qsizetype> classOfIdentity;
    for (const qsizetype position : group) {
        const std::optional<QString> identity = knownIdentity(comparison.facts[position]);
        if (!identity)
            continue;
        const auto known = classOfIdentity.constFind(*identity);
        if (known != classOfIdentity.cend()) {
            classes[*known].members.append(position);
            continue;
        }
        const qsizetype equal = comparison.equalClass(position, comparison.byKey());
        if (equal >= 0) {
            classes[equal].members.append(position);
            classOfIdentity.insert(*identity, equal);
        } else {
            classOfIdentity.insert(*identity, classes.size());
            classes.append(ContentClass {position, {position}});
        }
    }
}

// The rest join the class they equal, or start one; a file that cannot even be hashed stays out.
void sortNew(Comparison& comparison, const QList<qsizetype>& group)
{
    for (const qsizetype position : group) {
        if (knownIdentity(comparison.facts[position]))
            continue;
        const bool byKey = comparison.byKey();
        const qsizetype equal = comparison.equalClass(position, byKey);
        if (equal >= 0)
            comparison.classes[equal].members.append(position);
        else if (!byKey || comparison.keyOf(position))
            comparison.classes.append(ContentClass {position, {position}});
    }
}

// The classes of two or more, each under one name for the whole set: a content key when any
// member has one (equal files have equal keys), otherwise a group name.
QList<QList<qsizetype>> namedSets(Comparison& comparison)
{
    QList<CachedFacts>& facts = comparison.facts;
    QList<QList<qsizetype>> sets;
    for (const ContentClass& found : std::as_const(comparison.classes)) {
        if (found.members.size() < 2)
            continue;
        std::optional<QString> key;
        std::optional<QString> name;
        for (const qsizetype member : found.members) {
            key = key ? key : facts[member].contentKey;
            name = name ? name : facts[member].identicalGroup;
        }
        if (!key && !name)
            name = newGroupName(comparison.pathOf(found.representative), facts[found.representative].stamp);
        for (const qsizetype member : found.members) {
            facts[member].contentKey = key;
            facts[member].identicalGroup = key ? std::nullopt : name;
        }
        sets.append(found.members);
    }
    return sets;
}

// Splits a group of files with equal size and equal first 4 KiB into sets of identical files.
// Files are compared byte for byte, which is several times cheaper than hashing them and says
// the same; what was found is remembered as a shared group name, so that files that stay
// unchanged are not read again by later scans.
QList<QList<qsizetype>>
identicalSets(const QList<qsizetype>& group, const QList<ScannedItem>& items, QList<CachedFacts>& facts)
{
    Comparison comparison {items, facts, items[group.first()].size, {}};
    sortKnown(comparison, group);
    sortNew(comparison, group);
    return namedSets(comparison);
}

// Duplicate candidates by size and start, as runs of a sorted list rather than entries of a
// hash: tens of thousands of sizes would otherwise each allocate a list of their own.
struct Key
{
    qint64 size;
    quint64 prefix;
    qsizetype position;
    auto operator<=>(const Key&) const = default;
};

// Calls `group` with each run of at least two keys that `same` finds equal.
template <typename Same, typename Group>
void forEachRun(const QList<Key>& keys, Same same, Group group)
{
    for (qsizetype begin = 0, end = 0; begin < keys.size(); begin = end) {
        for (end = begin + 1; end < keys.size() && same(keys[begin], keys[end]); ++end) { }
        if (end - begin > 1)
            group(begin, end);
    }
}

// The files that share their size with another, in order of size.
QList<Key> sameSize(const QList<ScannedItem>& items)
{
    QList<Key> bySize;
    for (qsizetype i = 0; i < items.size(); ++i) {
        if (!items[i].isDir && items[i].size > 0)
            bySize.append({items[i].size, 0, i});
    }
    std::sort(bySize.begin(), bySize.end());
    QList<Key> candidates;
    forEachRun(
        bySize,
        [](const Key& a, const Key& b) { return a.size == b.size; },
        [&](qsizetype begin, qsizetype end) { candidates.append(bySize.sliced(begin, end - begin)); });
    return candidates;
}

// Of those, the groups that also share their first 4 KiB: different files of equal size almost
// always differ there. A file whose start cannot be read is in no group.
QList<QList<qsizetype>> sameStart(QList<Key> candidates, const QList<ScannedItem>& items, QList<CachedFacts>& facts)
{
    QtConcurrent::blockingMap(candidates, [&](Key& key) {
        CachedFacts& known = facts[key.position];
        if (!known.prefixHash)
            known.prefixHash = prefixHash(items[key.position].url.toLocalFile());
        key.prefix = known.prefixHash.value_or(0);
    });
    candidates.removeIf([&facts](const Key& key) { return !facts[key.position].prefixHash; });
    std::sort(candidates.begin(), candidates.end());
    QList<QList<qsizetype>> groups;
    forEachRun(
        candidates,
        [](const Key& a, const Key& b) { return a.size == b.size && a.prefix == b.prefix; },
        [&](qsizetype begin, qsizetype end) {
            QList<qsizetype> group;
            for (qsizetype i = begin; i < end; ++i)
                group.append(candidates[i].position);
            groups.append(group);
        });
    return groups;
}

// Marks every member of one set of identical files but the kept copy, and names the kept copy
// in each of them: a copy filed outside the landing folders first, as the person put it there on
// purpose, then no copy-style name, then the shorter name, then the smaller path.
void markAllButKept(QList<ScannedItem>& items, const QList<qsizetype>& set, const QStringList& landing)
{
    struct Candidate
    {
        qsizetype position;
        bool landed;
        bool copyStyle;
        qsizetype length;
        QString path;
    };
    QList<Candidate> order;
    for (const qsizetype position : set) {
        const ScannedItem& item = items[position];
        const QString path = item.url.toLocalFile();
        order.append({position,
                      UserFolders::isInside(path, landing),
                      item.junkHints.contains(JunkHint::copyStyleName),
                      Graphemes::count(item.name),
                      path});
    }
    // Listing order first, so the stable sort below is repeatable.
    std::sort(
        order.begin(), order.end(), [](const Candidate& a, const Candidate& b) { return a.position < b.position; });
    std::stable_sort(order.begin(), order.end(), [](const Candidate& a, const Candidate& b) {
        if (a.landed != b.landed)
            return !a.landed;
        if (a.copyStyle != b.copyStyle)
            return !a.copyStyle;
        if (a.length != b.length)
            return a.length < b.length;
        return a.path < b.path;
    });
    for (qsizetype i = 1; i < order.size(); ++i) {
        items[order[i].position].junkHints.append(JunkHint::exactDuplicate);
        items[order[i].position].keptCopy = order[0].path;
    }
}

} // namespace

std::optional<QString> sha(const QString& path, qint64 size)
{
    const UniqueFd fd = FileIo::openForReading(path);
    if (!fd.valid())
        return std::nullopt;
    const std::unique_ptr<EVP_MD_CTX, DigestDeleter> context(EVP_MD_CTX_new());
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        return std::nullopt;

    if (size <= kWholeHashLimit) {
        std::unique_ptr<char[]> buffer(new char[kHashChunk]);
        for (;;) {
            const qint64 got = fd.readSome(buffer.get(), kHashChunk);
            if (got < 0)
                return std::nullopt;
            if (got == 0)
                break;
            EVP_DigestUpdate(context.get(), buffer.get(), size_t(got));
        }
    } else {
        unsigned char sizeBytes[8];
        for (int i = 0; i < 8; ++i)
            sizeBytes[i] = static_cast<unsigned char>(quint64(size) >> (8 * i));
        EVP_DigestUpdate(context.get(), sizeBytes, sizeof sizeBytes);
        std::unique_ptr<char[]> buffer(new char[kSampleBytes]);
        for (const qint64 offset : {qint64(0), size / 2, size - kSampleBytes}) {
            // A failed seek reads from wherever the file stands, as the content key always has.
            fd.seek(offset);
            const qint64 got = fd.readFully(buffer.get(), kSampleBytes);
            if (got < 0)
                return std::nullopt;
            if (got > 0)
                EVP_DigestUpdate(context.get(), buffer.get(), size_t(got));
        }
    }
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context.get(), digest, &length) != 1)
        return std::nullopt;
    return hex(digest, length);
}

QList<std::optional<QString>> shas(const QList<std::pair<QString, qint64>>& files)
{
    return QtConcurrent::blockingMapped(
        files, [](const std::pair<QString, qint64>& file) { return sha(file.first, file.second); });
}

void markDuplicates(QList<ScannedItem>& items, const QStringList& landing)
{
    QList<CachedFacts> facts(items.size());
    markDuplicates(items, facts, landing);
}

void markDuplicates(QList<ScannedItem>& items, QList<CachedFacts>& facts, const QStringList& landing)
{
    const QList<QList<qsizetype>> groups = sameStart(sameSize(items), items, facts);
    const QList<QList<QList<qsizetype>>> partitions = QtConcurrent::blockingMapped(
        groups, [&](const QList<qsizetype>& group) { return identicalSets(group, items, facts); });
    for (const QList<QList<qsizetype>>& partition : partitions) {
        for (const QList<qsizetype>& set : partition)
            markAllButKept(items, set, landing);
    }
}

} // namespace Scanner
