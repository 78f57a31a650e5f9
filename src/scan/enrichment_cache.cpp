#include "enrichment_cache.h"

#include "platform/file_identity.h"
#include "platform/file_io.h"

#include <QFile>
#include <QIODevice>

#include <cstring>

#include <openssl/evp.h>

namespace {

constexpr char kMagic[] = "BRINDLOW-SCAN-CACHE";
// 4: prefix hashes became SHA-256 based; those of older caches would never match fresh ones.
// 5: groups of files found identical by comparison. Caches of version 4 still load.
constexpr qint32 kVersion = 5;
constexpr qint32 kOldestReadable = 4;
constexpr qint64 kMaxFileBytes = 512 * 1024 * 1024;

QByteArray checksum(QByteArrayView payload)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(payload.constData(), size_t(payload.size()), digest, &length, EVP_sha256(), nullptr);
    return QByteArray(reinterpret_cast<const char*>(digest), int(length));
}

// A flat little-endian layout read with plain copies: the cache is loaded on every scan, and a
// generic stream format spends most of its time converting text.
class Output
{
public:
    template <typename T>
    void number(T value)
    {
        m_bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    void text(const std::optional<QString>& value)
    {
        number<quint8>(value ? 1 : 0);
        if (value) {
            const QByteArray utf8 = value->toUtf8();
            number<quint32>(quint32(utf8.size()));
            m_bytes.append(utf8);
        }
    }
    QByteArray& bytes()
    {
        return m_bytes;
    }

private:
    QByteArray m_bytes;
};

class Input
{
public:
    explicit Input(QByteArrayView bytes)
        : m_bytes(bytes)
    { }
    template <typename T>
    T number()
    {
        T value {};
        if (m_at + qsizetype(sizeof value) > m_bytes.size()) {
            m_ok = false;
            return value;
        }
        memcpy(&value, m_bytes.data() + m_at, sizeof value);
        m_at += sizeof value;
        return value;
    }
    std::optional<QString> text()
    {
        if (number<quint8>() == 0)
            return std::nullopt;
        const quint32 length = number<quint32>();
        if (!m_ok || m_at + qsizetype(length) > m_bytes.size()) {
            m_ok = false;
            return std::nullopt;
        }
        QString value = QString::fromUtf8(m_bytes.sliced(m_at, length));
        m_at += length;
        return value;
    }
    bool ok() const
    {
        return m_ok;
    }
    bool atEnd() const
    {
        return m_at == m_bytes.size();
    }

private:
    QByteArrayView m_bytes;
    qsizetype m_at = 0;
    bool m_ok = true;
};

} // namespace

EnrichmentCache EnrichmentCache::load(const QString& file)
{
    EnrichmentCache cache;
    const std::optional<QByteArray> bytes = FileIo::readRegular(file, kMaxFileBytes);
    const qsizetype headerSize = qsizetype(sizeof kMagic) + 32;
    if (!bytes || bytes->size() < headerSize || !bytes->startsWith(QByteArray(kMagic, sizeof kMagic)))
        return cache;
    if (checksum(QByteArrayView(*bytes).sliced(headerSize)) != bytes->mid(sizeof kMagic, 32))
        return cache;

    Input in(QByteArrayView(*bytes).sliced(headerSize));
    const qint32 version = in.number<qint32>();
    const qint64 count = in.number<qint64>();
    if (!in.ok() || version < kOldestReadable || version > kVersion || count < 0 || count > kMaxEntries)
        return cache;
    QHash<QString, Entry> entries;
    entries.reserve(count);
    for (qint64 i = 0; i < count && in.ok(); ++i) {
        const std::optional<QString> path = in.text();
        CachedFacts facts;
        facts.stamp.size = in.number<qint64>();
        facts.stamp.modifiedNs = in.number<qint64>();
        facts.stamp.inode = in.number<quint64>();
        facts.stamp.changedNs = in.number<qint64>();
        facts.text = in.text();
        facts.whereFrom = in.text();
        const bool hasPrefix = in.number<quint8>();
        const quint64 prefix = in.number<quint64>();
        facts.prefixHash = hasPrefix ? std::optional(prefix) : std::nullopt;
        facts.contentKey = in.text();
        const quint8 marker = in.number<quint8>();
        facts.projectMarker = marker == 0 ? std::nullopt : std::optional(marker == 2);
        if (version >= 5)
            facts.identicalGroup = in.text();
        if (path)
            entries.insert(*path, Entry {facts, false});
    }
    if (!in.ok() || !in.atEnd() || entries.size() != count)
        return cache;
    cache.m_entries = std::move(entries);
    cache.m_changed = false;
    return cache;
}

void EnrichmentCache::save(const QString& file) const
{
    if (!m_changed)
        return;
    Output out;
    out.number<qint32>(kVersion);
    out.number<qint64>(std::min(m_entries.size(), kMaxEntries));
    qsizetype written = 0;
    for (auto it = m_entries.cbegin(); it != m_entries.cend() && written < kMaxEntries; ++it, ++written) {
        const CachedFacts& facts = it->facts;
        out.text(it.key());
        out.number<qint64>(facts.stamp.size);
        out.number<qint64>(facts.stamp.modifiedNs);
        out.number<quint64>(facts.stamp.inode);
        out.number<qint64>(facts.stamp.changedNs);
        out.text(facts.text);
        out.text(facts.whereFrom);
        out.number<quint8>(facts.prefixHash ? 1 : 0);
        out.number<quint64>(facts.prefixHash.value_or(0));
        out.text(facts.contentKey);
        out.number<quint8>(facts.projectMarker ? (*facts.projectMarker ? 2 : 1) : 0);
        out.text(facts.identicalGroup);
    }
    const QByteArray& payload = out.bytes();
    if (FileIo::writeAtomic(file, QByteArray(kMagic, sizeof kMagic) + checksum(payload) + payload))
        m_changed = false;
}

const CachedFacts* EnrichmentCache::find(const QString& path, const FileStamp& stamp) const
{
    const auto it = m_entries.constFind(path);
    if (it == m_entries.cend() || it->facts.stamp != stamp)
        return nullptr;
    return &it->facts;
}

void EnrichmentCache::put(const QString& path, const CachedFacts& facts)
{
    const auto it = m_entries.find(path);
    if (it != m_entries.end() && it->facts == facts) {
        it->seen = true;
        return;
    }
    m_entries.insert(path, Entry {facts, true});
    m_changed = true;
}

bool EnrichmentCache::confirm(const QString& path, const CachedFacts& facts)
{
    // A lookup through a constant hash never detaches or rehashes it, so threads that each mark
    // their own entries never touch the same memory.
    const auto it = std::as_const(m_entries).constFind(path);
    if (it == m_entries.cend() || !(it->facts == facts))
        return false;
    const_cast<Entry&>(*it).seen = true;
    return true;
}

void EnrichmentCache::forget(const QString& path)
{
    if (m_entries.remove(path))
        m_changed = true;
}

void EnrichmentCache::pruneMissing()
{
    const qsizetype removed = m_entries.removeIf(
        [](const auto& entry) { return !entry.value().seen && !FileIdentity::ofEntry(entry.key()).exists(); });
    m_changed = m_changed || removed > 0;
}

qsizetype EnrichmentCache::size() const
{
    return m_entries.size();
}
