#include "move_logs.h"

#include "model/store.h"
#include "move_log.h"
#include "mover.h"
#include "platform/file_mover.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace MoveLogs {

namespace {

constexpr int kRenameAttempts = 100;

QStringList names(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System);
}

} // namespace

QStringList undoOrder()
{
    const QString folder = Store::logsDir();
    QList<std::pair<qint64, QString>> current;
    QStringList legacy;
    for (const QString& name : names(folder)) {
        if (!name.startsWith(u"moves-"_s))
            continue;
        if (const std::optional<qint64> sequence = MoveLog::sequenceOf(name))
            current.append({*sequence, name});
        else if (MoveLog::isLegacyName(name))
            legacy.append(name);
    }
    std::sort(current.begin(), current.end(), std::greater<>());
    std::sort(legacy.begin(), legacy.end(), std::greater<>());
    QStringList order;
    for (const auto& [sequence, name] : current)
        order.append(folder + u'/' + name);
    for (const QString& name : legacy)
        order.append(folder + u'/' + name);
    return order;
}

QString newLogPath(const QDateTime& started, qint64* sequence)
{
    const QString folder = Store::logsDir();
    qint64 last = 0;
    for (const QString& name : names(folder))
        last = std::max(last, MoveLog::sequenceOf(name).value_or(0));
    *sequence = last + 1;
    return Mover::freePath(folder + u'/' + MoveLog::fileName(*sequence, started));
}

std::optional<QString> addPrefix(const QString& path, const QString& prefix)
{
    const QFileInfo log(path);
    for (int attempt = 0; attempt < kRenameAttempts; ++attempt) {
        const QString target = Mover::freePath(log.path() + u'/' + prefix + log.fileName());
        const FileMover::Outcome outcome = FileMover::rename(path, target);
        if (outcome == FileMover::Outcome::moved)
            return target;
        if (outcome != FileMover::Outcome::destinationTaken)
            break;
    }
    return std::nullopt;
}

} // namespace MoveLogs
