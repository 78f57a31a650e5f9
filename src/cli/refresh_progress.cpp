#include "refresh_progress.h"

#include "common/numbers.h"
#include "controller/activity.h"
#include "controller/refresh_run.h"
#include "terminal.h"
#include "visible_text.h"

#include <unistd.h>

RefreshProgress::RefreshProgress(const Activity& activity, const RefreshRun& run, QTextStream& out)
    : m_run(run)
    , m_tty(Terminal::isInteractive(STDERR_FILENO))
    , m_bar(stderr)
{
    connect(&activity, &Activity::statusChanged, this, [this, &activity, &out] {
        if (!m_tty)
            out << VisibleText::of(activity.status()) << '\n' << Qt::flush;
    });
    connect(&m_ticker, &QTimer::timeout, this, &RefreshProgress::draw);
    if (m_tty)
        m_ticker.start(250);
}

void RefreshProgress::finish()
{
    m_ticker.stop();
    if (m_tty)
        m_bar << "\r\x1b[K" << Qt::flush;
}

void RefreshProgress::draw()
{
    const int width = 30;
    const int filled = m_run.total() > 0 ? width * m_run.decided() / m_run.total() : 0;
    m_bar << '\r' << '[' << QString(filled, u'#') << QString(width - filled, u'.') << "] "
          << Numbers::count(m_run.decided()) << '/' << Numbers::count(m_run.total()) << "  "
          << VisibleText::of(m_run.calmStatus()) << "\x1b[K" << Qt::flush;
}
