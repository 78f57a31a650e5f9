#pragma once

#include "usage_log.h"

#include <QDateTime>
#include <QString>

#include <mutex>

// What the running refresh has cost on the person's own key, and the history in "usage.json".
class Usage
{
public:
    struct Price
    {
        double input; // US dollars per million tokens
        double output;
    };

    static Usage& shared();
    static Price price(const QString& model);
    // "Claude cost for this refresh: $0.12" (or "<$0.01" for a fraction of a cent).
    static QString costText(double usd);

    // Adds one priced reply; safe from any thread.
    void add(double usd);
    void reset();
    double runUSD() const;
    int runCalls() const;

    // The history in "usage.json"; empty when there is none or it is damaged. For every screen
    // that shows what refreshes cost.
    static UsageLog readLog();

    // Closes the refresh: records it, and its month, in "usage.json" and returns its cost.
    double endRun(int files, const QDateTime& now = QDateTime::currentDateTime());

    static constexpr int kMaxRuns = 60;

private:
    mutable std::mutex m_lock;
    double m_runUSD = 0;
    int m_runCalls = 0;
};
