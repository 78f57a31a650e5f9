#include "usage.h"

#include "common/numbers.h"
#include "model/store.h"
#include "platform/file_io.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kMaxFileBytes = 16 * 1024 * 1024;

QString logPath()
{
    return Store::dir() + u"/usage.json"_s;
}

} // namespace

UsageLog Usage::readLog()
{
    // Through the bounded reader: the file may have been replaced by a pipe or a device.
    const std::optional<QByteArray> bytes = FileIo::readRegular(logPath(), kMaxFileBytes);
    if (!bytes)
        return {};
    return UsageLog::fromJson(QJsonDocument::fromJson(*bytes).object()).value_or(UsageLog {});
}

Usage& Usage::shared()
{
    static Usage usage;
    return usage;
}

Usage::Price Usage::price(const QString& model)
{
    if (model.contains(u"haiku"))
        return {0.1, 0.5};
    if (model.contains(u"sonnet"))
        return {2.0, 10.0};
    return {4.0, 20.0};
}

QString Usage::costText(double usd)
{
    return u"Claude cost for this refresh: "_s + Numbers::money(usd, Numbers::Nothing::zeroDollars);
}

void Usage::add(double usd)
{
    const std::lock_guard lock(m_lock);
    m_runUSD += usd;
    ++m_runCalls;
}

void Usage::reset()
{
    const std::lock_guard lock(m_lock);
    m_runUSD = 0;
    m_runCalls = 0;
}

double Usage::runUSD() const
{
    const std::lock_guard lock(m_lock);
    return m_runUSD;
}

int Usage::runCalls() const
{
    const std::lock_guard lock(m_lock);
    return m_runCalls;
}

double Usage::endRun(int files, const QDateTime& now)
{
    double cost = 0;
    int calls = 0;
    {
        const std::lock_guard lock(m_lock);
        std::swap(cost, m_runUSD);
        std::swap(calls, m_runCalls);
    }
    UsageLog log = readLog();
    MonthUsage& month = log.months[now.toLocalTime().toString(u"yyyy-MM"_s)];
    month.usd += cost;
    month.files += files;
    log.runs.append(RunUsage {now, cost, files, calls});
    while (log.runs.size() > kMaxRuns)
        log.runs.removeFirst();
    log.totalUSD += cost;
    FileIo::writeAtomic(logPath(), QJsonDocument(log.toJson()).toJson(QJsonDocument::Indented));
    return cost;
}
