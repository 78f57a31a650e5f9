#include "move_history.h"

#include "model/home_tree.h"
#include "move_log.h"

#include <QDir>
#include <QFileInfo>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QTimeZone>
#include <QtConcurrent>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const auto kUndone = "undone-"_L1;
const auto kDamaged = "damaged-"_L1;

// The name a log was first given, before any prefix an undo or a damaged read put before it.
QString baseName(const QString& name)
{
    QString base = name;
    while (base.startsWith(kUndone) || base.startsWith(kDamaged))
        base = base.mid(base.startsWith(kUndone) ? kUndone.size() : kDamaged.size());
    return base;
}

// When the apply started, as the name of its log says; for a log whose contents cannot say.
QDateTime startInName(const QString& name)
{
    static const QRegularExpression pattern(u"-(\\d{4}-\\d{2}-\\d{2}_\\d{6})Z"_s);
    const QRegularExpressionMatch match = pattern.match(name);
    if (!match.hasMatch())
        return {};
    QDateTime started = QDateTime::fromString(match.captured(1), u"yyyy-MM-dd_HHmmss"_s);
    started.setTimeZone(QTimeZone::utc());
    return started;
}

bool isSetAside(const QString& to)
{
    return to.contains(u'/' + HomeTree::toDelete() + u'/') || to.contains(u'/' + HomeTree::duplicates() + u'/');
}

QString searchKey(const MoveRecord& record)
{
    const QFileInfo from(record.from);
    const QFileInfo to(record.to);
    return QStringList {
        from.fileName(), to.fileName(), MoveHistory::shownFolder(record.from), MoveHistory::shownFolder(record.to)}
        .join(u'\n')
        .toCaseFolded();
}

void count(PastApply& apply, bool undoneName)
{
    bool anyBack = false;
    for (const MoveRecord& record : std::as_const(apply.records)) {
        if (record.state == MoveState::failed)
            continue;
        ++apply.moved;
        apply.renamed += MoveHistory::isRenamed(record);
        apply.setAside += isSetAside(record.to);
        apply.filed += record.isFiled();
        anyBack |= record.state == MoveState::back || record.state == MoveState::putBack;
    }
    if (apply.filed == 0 && (anyBack || undoneName))
        apply.state = PastApply::State::undone;
    else if (anyBack)
        apply.state = PastApply::State::partlyUndone;
}

PastApply summarize(const QString& path)
{
    PastApply apply;
    apply.path = path;
    const QString name = QFileInfo(path).fileName();
    apply.sequence = MoveLog::sequenceOf(name).value_or(0);
    const std::optional<MoveLog::Contents> contents = MoveLog::read(path);
    if (!contents || (contents->records.isEmpty() && name.startsWith(kDamaged))) {
        apply.state = PastApply::State::damaged;
        apply.started = startInName(name);
        return apply;
    }
    apply.legacy = contents->legacy;
    apply.records = contents->records;
    const bool undoneName = name.startsWith(kUndone);
    if (apply.legacy) {
        // An older version's log says only where things went; once undone, they went back.
        apply.started = apply.records.isEmpty() ? QFileInfo(path).lastModified() : apply.records.first().at;
        for (MoveRecord& record : apply.records)
            record.state = undoneName ? MoveState::back : MoveState::moved;
    } else {
        apply.started = contents->started;
    }
    count(apply, undoneName);
    apply.searchKeys.reserve(apply.records.size());
    for (const MoveRecord& record : std::as_const(apply.records))
        apply.searchKeys.append(searchKey(record));
    return apply;
}

bool newerFirst(const PastApply& a, const PastApply& b)
{
    if ((a.sequence > 0) != (b.sequence > 0))
        return a.sequence > 0;
    if (a.sequence != b.sequence)
        return a.sequence > b.sequence;
    if (a.started != b.started)
        return a.started > b.started;
    return a.path > b.path;
}

} // namespace

QList<PastApply> MoveHistory::read(const QString& folder)
{
    QMutexLocker lock(&m_mutex);
    QHash<QString, Cached> kept;
    QStringList toRead;
    const QFileInfoList entries = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QFileInfo& entry : entries) {
        if (!isLogName(entry.fileName()))
            continue;
        const auto cached = m_cache.constFind(entry.filePath());
        if (cached != m_cache.cend() && cached->size == entry.size() && cached->modified == entry.lastModified())
            kept.insert(entry.filePath(), *cached);
        else
            toRead.append(entry.filePath());
    }
    // Each log on its own: the cores share the parsing of a long history. In a pool of its own,
    // since the read itself may run on a thread of the shared pool that another read waits in.
    const QList<PastApply> fresh = QtConcurrent::blockingMapped(&m_pool, toRead, &summarize);
    for (const PastApply& apply : fresh) {
        const QFileInfo entry(apply.path);
        kept.insert(apply.path, {entry.size(), entry.lastModified(), apply});
    }
    m_cache = kept;
    QList<PastApply> applies;
    applies.reserve(m_cache.size());
    for (const Cached& cached : std::as_const(m_cache))
        applies.append(cached.apply);
    std::sort(applies.begin(), applies.end(), newerFirst);
    return applies;
}

QList<HistoryHit> MoveHistory::search(const QList<PastApply>& applies, const QString& text)
{
    const QString wanted = text.trimmed().toCaseFolded();
    QList<HistoryHit> hits;
    if (wanted.isEmpty())
        return hits;
    for (int apply = 0; apply < applies.size(); ++apply) {
        const QStringList& keys = applies.at(apply).searchKeys;
        for (int record = 0; record < keys.size(); ++record) {
            if (keys.at(record).contains(wanted))
                hits.append({apply, record});
        }
    }
    return hits;
}

std::optional<MoveLog::Contents> MoveHistory::contentsOf(const QList<PastApply>& applies, const QString& path)
{
    const auto apply
        = std::find_if(applies.cbegin(), applies.cend(), [&path](const PastApply& a) { return a.path == path; });
    if (apply == applies.cend())
        return MoveLog::read(path);
    if (apply->state == PastApply::State::damaged)
        return std::nullopt;
    MoveLog::Contents contents;
    contents.legacy = apply->legacy;
    contents.sequence = apply->sequence;
    contents.started = apply->started;
    contents.records = apply->records;
    return contents;
}

QString MoveHistory::shownFolder(const QString& path)
{
    const QString folder = QFileInfo(path).path();
    const QString home = QDir::homePath();
    if (folder == home)
        return u"~"_s;
    if (folder.startsWith(home + u'/'))
        return folder.mid(home.size() + 1);
    return folder;
}

bool MoveHistory::isRenamed(const MoveRecord& record)
{
    // A hidden file set aside for review loses its leading dots to be seen there; that is not a
    // new name the person would look for.
    const auto shown = [](const QString& path) {
        QString name = QFileInfo(path).fileName();
        qsizetype dots = 0;
        while (dots < name.size() - 1 && name[dots] == u'.')
            ++dots;
        return name.sliced(dots);
    };
    return shown(record.from) != shown(record.to);
}

QString MoveHistory::firstName(const QString& path)
{
    return baseName(QFileInfo(path).fileName());
}

bool MoveHistory::isLogName(const QString& name)
{
    const QString base = baseName(name);
    return MoveLog::sequenceOf(base).has_value() || MoveLog::isLegacyName(base);
}
