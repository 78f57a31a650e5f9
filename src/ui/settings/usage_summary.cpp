#include "usage_summary.h"

#include "common/numbers.h"
#include "platform/clock.h"
#include "texts.h"
#include "understanding/usage.h"

#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

UsageSummary::UsageSummary(const Clock* clock, QWidget* parent)
    : QWidget(parent)
    , m_clock(clock ? clock : &SystemClock::instance())
    , m_files(Texts::label(QString(), Texts::Style::detail, this))
{
    m_files->setObjectName(u"usageFiles"_s);
    auto* figures = new QHBoxLayout;
    figures->setSpacing(12);
    figures->addWidget(figure(m_lastRun, tr("last refresh")), 1);
    figures->addWidget(figure(m_month, tr("this month")), 1);
    figures->addWidget(figure(m_total, tr("all time")), 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(Texts::label(tr("CLAUDE USAGE"), Texts::Style::caption, this));
    layout->addLayout(figures);
    layout->addWidget(m_files);
    showLog(UsageLog());
}

QWidget* UsageSummary::figure(QLabel*& value, const QString& caption)
{
    auto* box = new QWidget(this);
    value = Texts::label(QString(), Texts::Style::heading, box);
    value->setWordWrap(false);
    QLabel* below = Texts::label(caption, Texts::Style::detail, box);
    // Read out as "this month: $1.20" rather than as two loose words.
    value->setAccessibleName(caption);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(value);
    layout->addWidget(below);
    return box;
}

void UsageSummary::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    reload();
}

void UsageSummary::reload()
{
    const quint64 reading = ++m_reading;
    auto* watcher = new QFutureWatcher<UsageLog>(this);
    connect(watcher, &QFutureWatcher<UsageLog>::finished, this, [this, watcher, reading] {
        watcher->deleteLater();
        if (reading == m_reading)
            showLog(watcher->result());
    });
    watcher->setFuture(QtConcurrent::run(&Usage::readLog));
}

void UsageSummary::showLog(const UsageLog& log)
{
    const MonthUsage month = log.months.value(m_clock->now().toLocalTime().toString(u"yyyy-MM"_s));
    m_lastRun->setText(Numbers::money(log.runs.isEmpty() ? 0 : log.runs.last().usd));
    m_month->setText(Numbers::money(month.usd));
    m_total->setText(Numbers::money(log.totalUSD));
    m_files->setText(tr("%1 files this month").arg(Numbers::count(month.files)));
    Q_EMIT updated();
}
