#include "usage.h"

#include "model/iso_date.h"
#include "model/json_fields.h"
#include "model/store.h"
#include "platform/file_io.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kMaxFileBytes = 16 * 1024 * 1024;

// The stored history, or nothing when the file is missing or not of the expected shape.
std::optional<QJsonObject> readLog(const QString& path)
{
    const std::optional<QByteArray> bytes = FileIo::readRegular(path, kMaxFileBytes);
    if (!bytes)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject log = document.object();
    if (!log.value("totalUSD"_L1).isDouble() || !log.value("months"_L1).isObject() || !log.value("runs"_L1).isArray())
        return std::nullopt;
    for (const QJsonValue& month : log.value("months"_L1).toObject()) {
        const QJsonObject entry = month.toObject();
        if (!month.isObject() || !entry.value("usd"_L1).isDouble() || !JsonFields::wholeNumber(entry.value("files"_L1)))
            return std::nullopt;
    }
    for (const QJsonValue& run : log.value("runs"_L1).toArray()) {
        JsonFields fields(run.toObject());
        fields.date("date"_L1);
        fields.integer("files"_L1);
        fields.integer("calls"_L1);
        if (!run.isObject() || !run.toObject().value("usd"_L1).isDouble() || !fields.ok())
            return std::nullopt;
    }
    return log;
}

} // namespace

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
    const QString amount = usd > 0 && usd < 0.01 ? u"<$0.01"_s : u"$"_s + QString::number(usd, 'f', 2);
    return u"Claude cost for this refresh: "_s + amount;
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
    const QString path = Store::dir() + u"/usage.json"_s;
    QJsonObject log = readLog(path).value_or(
        QJsonObject {{"totalUSD"_L1, 0.0}, {"months"_L1, QJsonObject()}, {"runs"_L1, QJsonArray()}});

    QJsonObject months = log.value("months"_L1).toObject();
    const QString monthKey = now.toLocalTime().toString(u"yyyy-MM"_s);
    const QJsonObject month = months.value(monthKey).toObject();
    months.insert(monthKey,
                  QJsonObject {{"usd"_L1, month.value("usd"_L1).toDouble() + cost},
                               {"files"_L1, month.value("files"_L1).toInteger() + files}});
    QJsonArray runs = log.value("runs"_L1).toArray();
    runs.append(
        QJsonObject {{"date"_L1, IsoDate::format(now)}, {"usd"_L1, cost}, {"files"_L1, files}, {"calls"_L1, calls}});
    while (runs.size() > kMaxRuns)
        runs.removeFirst();
    log.insert("months"_L1, months);
    log.insert("runs"_L1, runs);
    log.insert("totalUSD"_L1, log.value("totalUSD"_L1).toDouble() + cost);
    FileIo::writeAtomic(path, QJsonDocument(log).toJson(QJsonDocument::Indented));
    return cost;
}
