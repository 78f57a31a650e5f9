#include "enrichment_cache.h"

#include "platform/file_io.h"

#include <QDataStream>
#include <QFile>
#include <QIODevice>

#include <openssl/evp.h>
#include <sys/stat.h>

namespace {

constexpr char kMagic[] = "BRINDLOW-SCAN-CACHE";
constexpr qint32 kVersion = 1;
constexpr qint64 kMaxFileBytes = 512 * 1024 * 1024;

QByteArray checksum(const QByteArray& payload)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(payload.constData(), size_t(payload.size()), digest, &length, EVP_sha256(), nullptr);
    return QByteArray(reinterpret_cast<const char*>(digest), int(length));
}

void writeOptional(QDataStream& out, const std::optional<QString>& value)
{
    out << bool(value) << value.value_or(QString());
}

bool readOptional(QDataStream& in, std::optional<QString>& value)
{
    bool present = false;
    QString text;
    in >> present >> text;
    value = present ? std::optional(text) : std::nullopt;
    return in.status() == QDataStream::Ok;
}

} // namespace

EnrichmentCache EnrichmentCache::load(const QString& file)
{
    EnrichmentCache cache;
    const std::optional<QByteArray> bytes = FileIo::readRegular(file, kMaxFileBytes);
    const qsizetype headerSize = qsizetype(sizeof kMagic) + 32;
    if (!bytes || bytes->size() < headerSize || !bytes->startsWith(QByteArray(kMagic, sizeof kMagic)))
        return cache;
    const QByteArray payload = bytes->mid(headerSize);
    if (checksum(payload) != bytes->mid(sizeof kMagic, 32))
        return cache;

    QDataStream in(payload);
    in.setVersion(QDataStream::Qt_6_4);
    qint32 version = 0;
    qint64 count = 0;
    in >> version >> count;
    if (in.status() != QDataStream::Ok || version != kVersion || count < 0 || count > kMaxEntries)
        return cache;
    QHash<QString, CachedFacts> entries;
    entries.reserve(count);
    for (qint64 i = 0; i < count; ++i) {
        QString path;
        CachedFacts facts;
        bool hasPrefix = false;
        quint64 prefix = 0;
        in >> path >> facts.stamp.size >> facts.stamp.modifiedNs >> facts.stamp.inode >> facts.stamp.changedNs;
        if (!readOptional(in, facts.text) || !readOptional(in, facts.whereFrom))
            return cache;
        in >> hasPrefix >> prefix;
        facts.prefixHash = hasPrefix ? std::optional(prefix) : std::nullopt;
        if (!readOptional(in, facts.contentKey))
            return cache;
        entries.insert(path, facts);
    }
    if (!in.atEnd())
        return cache;
    cache.m_entries = std::move(entries);
    cache.m_changed = false;
    return cache;
}

void EnrichmentCache::save(const QString& file) const
{
    if (!m_changed)
        return;
    QByteArray payload;
    QDataStream out(&payload, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_6_4);
    out << kVersion << qint64(std::min(m_entries.size(), kMaxEntries));
    qsizetype written = 0;
    for (auto it = m_entries.cbegin(); it != m_entries.cend() && written < kMaxEntries; ++it, ++written) {
        const CachedFacts& facts = it.value();
        out << it.key() << facts.stamp.size << facts.stamp.modifiedNs << facts.stamp.inode << facts.stamp.changedNs;
        writeOptional(out, facts.text);
        writeOptional(out, facts.whereFrom);
        out << bool(facts.prefixHash) << facts.prefixHash.value_or(0);
        writeOptional(out, facts.contentKey);
    }
    if (FileIo::writeAtomic(file, QByteArray(kMagic, sizeof kMagic) + checksum(payload) + payload))
        m_changed = false;
}

const CachedFacts* EnrichmentCache::find(const QString& path, const FileStamp& stamp) const
{
    const auto it = m_entries.constFind(path);
    if (it == m_entries.cend() || it->stamp != stamp)
        return nullptr;
    return &it.value();
}

void EnrichmentCache::put(const QString& path, const CachedFacts& facts)
{
    const auto it = m_entries.find(path);
    if (it != m_entries.end() && *it == facts)
        return;
    m_entries.insert(path, facts);
    m_changed = true;
}

void EnrichmentCache::pruneMissing()
{
    const qsizetype removed = m_entries.removeIf([](const auto& entry) {
        struct stat info
        { };
        return ::lstat(QFile::encodeName(entry.key()).constData(), &info) != 0;
    });
    m_changed = m_changed || removed > 0;
}

qsizetype EnrichmentCache::size() const
{
    return m_entries.size();
}
