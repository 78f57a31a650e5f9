#pragma once

#include <QWidget>

class Clock;
class QLabel;
struct UsageLog;

// "CLAUDE USAGE": what the last refresh, this month and all refreshes cost on the person's own
// key, and how many files this month's refreshes handled. Read afresh from "usage.json" each
// time it is shown, away from the UI thread.
class UsageSummary : public QWidget
{
    Q_OBJECT

public:
    explicit UsageSummary(const Clock* clock = nullptr, QWidget* parent = nullptr);

    // Reads the file again; an older reading still on its way is then dropped.
    void reload();

Q_SIGNALS:
    // A reading of the file is shown.
    void updated();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showLog(const UsageLog& log);
    QWidget* figure(QLabel*& value, const QString& caption);

    const Clock* m_clock;
    QLabel* m_lastRun = nullptr;
    QLabel* m_month = nullptr;
    QLabel* m_total = nullptr;
    QLabel* m_files;
    quint64 m_reading = 0;
};
