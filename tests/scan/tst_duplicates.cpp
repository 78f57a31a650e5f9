#include "scan/duplicates.h"
#include "scan/kinds.h"
#include "support/file_factory.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

ScannedItem itemAt(const QString& path, const QList<JunkHint>& hints = {})
{
    ScannedItem item;
    item.url = QUrl::fromLocalFile(path);
    item.name = QFileInfo(path).fileName();
    item.ext = Kinds::extension(path);
    item.kind = Kinds::map().value(item.ext, FileKind::other);
    item.size = QFileInfo(path).size();
    item.junkHints = hints;
    return item;
}

QStringList duplicatesIn(const QList<ScannedItem>& items)
{
    QStringList names;
    for (const ScannedItem& item : items) {
        if (item.junkHints.contains(JunkHint::exactDuplicate))
            names.append(item.url.toLocalFile().section(u'/', -2));
    }
    names.sort();
    return names;
}

QByteArray noise(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator random(seed);
    for (char& byte : bytes)
        byte = char(random.generate());
    return bytes;
}

// A sparse file of `size` bytes with `bytes` written at `offset`.
void sparse(const QString& path, qint64 size, qint64 offset, const QByteArray& bytes)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_CREAT | O_TRUNC | O_WRONLY, 0644);
    QVERIFY(fd >= 0);
    QCOMPARE(::ftruncate(fd, size), 0);
    QCOMPARE(::pwrite(fd, bytes.constData(), size_t(bytes.size()), offset), ssize_t(bytes.size()));
    ::close(fd);
}

} // namespace

class TestDuplicates : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString file(const QString& relative, const QByteArray& content)
    {
        const QString full = m_dir.path() + u'/' + relative;
        FileFactory::write(full, content);
        return full;
    }

private Q_SLOTS:
    void contentKeys()
    {
        QCOMPARE(Scanner::sha(file(u"abc.txt"_s, "abc"), 3),
                 u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s);
        QCOMPARE(Scanner::sha(file(u"empty.txt"_s, ""), 0),
                 u"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"_s);
        QCOMPARE(Scanner::sha(m_dir.path() + u"/missing"_s, 3), std::nullopt);
        // Several read chunks give the digest of the whole.
        const QByteArray big = noise(3 * Scanner::kHashChunk + 17, 1);
        QCOMPARE(Scanner::sha(file(u"big.bin"_s, big), big.size()),
                 QString::fromLatin1(QCryptographicHash::hash(big, QCryptographicHash::Sha256).toHex()));
        // The prefix key lives in the scan cache across upgrades: a fixed digest, never a seeded hash.
        QCOMPARE(Scanner::prefixHash(m_dir.path() + u"/abc.txt"_s), 0xba7816bf8f01cfeaULL);
        const QByteArray head = QCryptographicHash::hash(big.left(Scanner::kPrefixBytes), QCryptographicHash::Sha256);
        QCOMPARE(Scanner::prefixHash(m_dir.path() + u"/big.bin"_s), qFromBigEndian<quint64>(head.constData()));
    }

    void keysOfSeveralFilesAtOnce()
    {
        QList<std::pair<QString, qint64>> files;
        QStringList expected;
        for (int n = 0; n < 9; ++n) {
            const QByteArray bytes = noise(Scanner::kHashChunk * (n % 3) + 5 * n + 1, quint32(10 + n));
            files.append({file(u"many%1.bin"_s.arg(n), bytes), bytes.size()});
            expected.append(QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
        }
        files.insert(4, {m_dir.path() + u"/missing"_s, 3});
        const QList<std::optional<QString>> keys = Scanner::shas(files);
        QCOMPARE(keys.size(), files.size());
        QCOMPARE(keys[4], std::nullopt);
        for (qsizetype n = 0; n < expected.size(); ++n)
            QCOMPARE(keys[n < 4 ? n : n + 1], std::optional(expected[n]));
    }

    void keptCopyOrder()
    {
        QList<ScannedItem> items {
            itemAt(file(u"a/report.pdf"_s, "same report")),
            itemAt(file(u"a/report (1).pdf"_s, "same report"), {JunkHint::copyStyleName}),
            itemAt(file(u"b/photo.png"_s, "same image")),
            itemAt(file(u"b/a.png"_s, "same image")),
            itemAt(file(u"Downloads/x.png"_s, "same x")),
            itemAt(file(u"Desktop/x.png"_s, "same x")),
            itemAt(file(u"c/one.txt"_s, "three of us")),
            itemAt(file(u"c/two.txt"_s, "three of us")),
            itemAt(file(u"c/six.txt"_s, "three of us")),
            itemAt(file(u"d/zero1.txt"_s, "")),
            itemAt(file(u"d/zero2.txt"_s, "")),
            itemAt(file(u"e/left.txt"_s, "equal size A")),
            itemAt(file(u"e/right.txt"_s, "equal size B")),
            // What the person filed outside the landing folders is kept before any other rule.
            itemAt(file(u"Documents/Debian Policy.epub"_s, "the policy")),
            itemAt(file(u"Downloads/policy.epub"_s, "the policy")),
            itemAt(file(u"Desktop/policy (1).epub"_s, "the policy"), {JunkHint::copyStyleName}),
        };
        QList<ScannedItem> before = items;
        const QString landed = m_dir.path() + u"/Downloads"_s;
        Scanner::markDuplicates(items, {landed, m_dir.path() + u"/Desktop"_s});
        QCOMPARE(duplicatesIn(items),
                 (QStringList {u"Desktop/policy (1).epub"_s,
                               u"Downloads/policy.epub"_s,
                               u"Downloads/x.png"_s,
                               u"a/report (1).pdf"_s,
                               u"b/photo.png"_s,
                               u"c/six.txt"_s,
                               u"c/two.txt"_s}));
        QCOMPARE(items[14].keptCopy, items[13].url.toLocalFile());
        QCOMPARE(items[4].keptCopy, items[5].url.toLocalFile());
        // Nothing else changes: order, ids and all other fields stay.
        for (qsizetype i = 0; i < items.size(); ++i) {
            QCOMPARE(items[i].keptCopy.has_value(), items[i].junkHints.removeAll(JunkHint::exactDuplicate) == 1);
            items[i].keptCopy.reset();
            QCOMPARE(items[i], before[i]);
        }
    }

    void sameStartDifferentEnd()
    {
        // Equal size and equal first 4 KiB: only the full hash tells them apart.
        const QByteArray head = noise(8192, 2);
        QList<ScannedItem> items {itemAt(file(u"f/one.bin"_s, head + "tail-1")),
                                  itemAt(file(u"f/two.bin"_s, head + "tail-2")),
                                  itemAt(file(u"f/three.bin"_s, head + "tail-1"))};
        Scanner::markDuplicates(items);
        QCOMPARE(duplicatesIn(items), QStringList {u"f/three.bin"_s});
    }

    // A file that cannot be read is in no set, not even with another that cannot be read: a
    // folder that took a file's place opens and then fails every read, a vanished one fails to
    // open. Nothing about them is remembered, and the readable twins beside them still pair up.
    void unreadableFilesAreInNoSet()
    {
        const QByteArray body(5000, 'u');
        QList<ScannedItem> items {itemAt(file(u"u/twin.txt"_s, body)), itemAt(file(u"u/twin copy.txt"_s, body))};
        for (const QString& name : {u"u/folder a"_s, u"u/folder b"_s, u"u/gone a"_s, u"u/gone b"_s}) {
            const QString path = m_dir.path() + u'/' + name;
            if (name.contains(u"folder"_s))
                QDir().mkpath(path);
            items.append(itemAt(path));
            items.last().size = body.size();
        }
        QList<CachedFacts> facts(items.size());
        Scanner::markDuplicates(items, facts);
        QCOMPARE(duplicatesIn(items), QStringList {u"u/twin copy.txt"_s});
        for (qsizetype i = 2; i < items.size(); ++i)
            QCOMPARE(facts[i], CachedFacts {});
        QCOMPARE(Scanner::prefixHash(m_dir.path() + u"/u/folder a"_s), std::nullopt);
        QCOMPARE(Scanner::sha(m_dir.path() + u"/u/folder a"_s, body.size()), std::nullopt);
    }

    void knownKeysJoinComparedFiles()
    {
        // One copy's key comes from an earlier scan; the new copy must still join its set and
        // get the same key, and a same-start file of other content must stay apart.
        const QByteArray head = noise(8192, 4);
        QList<ScannedItem> items {itemAt(file(u"k/old.bin"_s, head + "body")),
                                  itemAt(file(u"k/new.bin"_s, head + "body")),
                                  itemAt(file(u"k/other.bin"_s, head + "BODY"))};
        QList<CachedFacts> facts(3);
        facts[0].contentKey = Scanner::sha(items[0].url.toLocalFile(), items[0].size);
        Scanner::markDuplicates(items, facts);
        QCOMPARE(duplicatesIn(items), QStringList {u"k/old.bin"_s}); // same length: the smaller path is kept
        QCOMPARE(facts[1].contentKey, facts[0].contentKey);
        QVERIFY(facts[2].prefixHash && facts[2].prefixHash == facts[0].prefixHash);
    }

    void comparedSetsAreRememberedWithoutHashing()
    {
        const QByteArray body = noise(20000, 9);
        QList<ScannedItem> items {itemAt(file(u"r/a.bin"_s, body)),
                                  itemAt(file(u"r/b.bin"_s, body)),
                                  itemAt(file(u"r/c.bin"_s, body.left(19999) + "!"))};
        QList<CachedFacts> facts(3);
        Scanner::markDuplicates(items, facts);
        QCOMPARE(duplicatesIn(items), QStringList {u"r/b.bin"_s});
        QVERIFY(facts[0].identicalGroup && facts[1].identicalGroup == facts[0].identicalGroup);
        QVERIFY(!facts[0].contentKey && !facts[1].contentKey && !facts[2].identicalGroup);

        // Copies remembered from a scan of other folders join the group, and so does a newcomer,
        // which is compared rather than hashed.
        QList<ScannedItem> other {itemAt(file(u"s/d.bin"_s, body)), itemAt(file(u"s/e.bin"_s, body))};
        QList<CachedFacts> otherFacts(2);
        Scanner::markDuplicates(other, otherFacts);
        QVERIFY(otherFacts[0].identicalGroup && otherFacts[0].identicalGroup != facts[0].identicalGroup);
        QList<ScannedItem> all {itemAt(items[0].url.toLocalFile()),
                                itemAt(other[0].url.toLocalFile()),
                                itemAt(other[1].url.toLocalFile()),
                                itemAt(file(u"t/f.bin"_s, body))};
        QList<CachedFacts> known {facts[0], otherFacts[0], otherFacts[1], {}};
        Scanner::markDuplicates(all, known);
        QCOMPARE(duplicatesIn(all), (QStringList {u"s/d.bin"_s, u"s/e.bin"_s, u"t/f.bin"_s}));
        for (const CachedFacts& member : std::as_const(known))
            QCOMPARE(member.identicalGroup, known[0].identicalGroup);
        QVERIFY(!known[3].contentKey);

        // What the group says is trusted without reading: here b's bytes changed behind facts
        // that claim it did not, and only the remembered group still pairs it with a.
        file(u"r/b.bin"_s, noise(20000, 10));
        QList<ScannedItem> again {itemAt(items[0].url.toLocalFile()), itemAt(items[1].url.toLocalFile())};
        QList<CachedFacts> remembered {facts[0], facts[1]};
        Scanner::markDuplicates(again, remembered);
        QCOMPARE(duplicatesIn(again), QStringList {u"r/b.bin"_s});
    }

    void hugeFilesAreSampled()
    {
        const qint64 size = Q_INT64_C(2000000000);
        QDir().mkpath(m_dir.path() + u"/h"_s);
        const QString a = m_dir.path() + u"/h/a.mov"_s;
        const QString b = m_dir.path() + u"/h/b.mov"_s;
        const QString c = m_dir.path() + u"/h/c.mov"_s;
        sparse(a, size, 100000000, "only in a");
        sparse(b, size, 100000000, "only in b");
        sparse(c, size, size / 2 + 10, "inside the middle sample");
        QCOMPARE(Scanner::sha(a, size), Scanner::sha(b, size));
        QVERIFY(Scanner::sha(a, size) != Scanner::sha(c, size));

        // The sampled key is the digest of the size (8 bytes, little-endian) and the three samples.
        QCryptographicHash expected(QCryptographicHash::Sha256);
        const qint64 le = qToLittleEndian(size);
        expected.addData(QByteArrayView(reinterpret_cast<const char*>(&le), 8));
        for (qint64 offset : {qint64(0), size / 2, size - Scanner::kSampleBytes}) {
            QFile f(a);
            f.open(QIODevice::ReadOnly);
            f.seek(offset);
            expected.addData(f.read(Scanner::kSampleBytes));
        }
        QCOMPARE(Scanner::sha(a, size), QString::fromLatin1(expected.result().toHex()));

        QList<ScannedItem> items {itemAt(a), itemAt(b), itemAt(c)};
        Scanner::markDuplicates(items);
        QCOMPARE(duplicatesIn(items), QStringList {u"h/b.mov"_s});
        QFile::remove(a);
        QFile::remove(b);
        QFile::remove(c);
    }

    void matchesHashingEverything()
    {
        // Many same-size files, some identical, some sharing only their start: the fast path must
        // find exactly the sets that hashing every same-size file whole finds.
        QList<ScannedItem> items;
        const QByteArray shared = noise(5000, 3);
        for (int i = 0; i < 120; ++i) {
            QByteArray content;
            switch (i % 4) {
                case 0:
                    content = noise(6000, 100 + i % 12);
                    break; // twelve contents, ten copies each
                case 1:
                    content = shared + noise(1000, 200 + i);
                    break; // same start, unique ends
                case 2:
                    content = noise(6000, 300 + i);
                    break; // unique
                default:
                    content = noise(6000, 100 + i % 12);
                    break;
            }
            items.append(itemAt(file(u"m/%1.bin"_s.arg(i, 3, 10, QChar(u'0')), content)));
        }
        QList<ScannedItem> fast = items;
        Scanner::markDuplicates(fast);

        QHash<QString, QList<qsizetype>> byKey;
        for (qsizetype i = 0; i < items.size(); ++i)
            byKey[*Scanner::sha(items[i].url.toLocalFile(), items[i].size)].append(i);
        int expectedDuplicates = 0;
        for (const auto& set : std::as_const(byKey))
            expectedDuplicates += int(set.size()) - 1;
        QCOMPARE(duplicatesIn(fast).size(), expectedDuplicates);
        for (const auto& set : std::as_const(byKey)) {
            // Equal names' length: the smallest path of each set is the kept copy.
            for (qsizetype k = 0; k < set.size(); ++k)
                QCOMPARE(fast[set[k]].junkHints.contains(JunkHint::exactDuplicate), k > 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestDuplicates)
#include "tst_duplicates.moc"
