#include "start_at_login_row.h"

#include "ui/theme/switch.h"

#include <QFutureWatcher>
#include <QtConcurrent>

StartAtLoginRow::StartAtLoginRow(const Autostart& autostart, QWidget* parent)
    : ToggleRow(tr("Start Brindlow when you log in"),
                tr("The Sunday reminder and Sunday Reset only happen while Brindlow is running."),
                parent)
    , m_autostart(autostart)
{
    toggle()->setEnabled(false);
    auto* watcher = new QFutureWatcher<bool>(this);
    connect(watcher, &QFutureWatcher<bool>::finished, this, [this, watcher] {
        watcher->deleteLater();
        toggle()->setEnabled(true);
        // The person may have flipped it already; their choice wins over what was read.
        if (!m_touched) {
            setOn(watcher->result());
            Q_EMIT settled(isOn());
        }
    });
    watcher->setFuture(QtConcurrent::run([autostart] { return autostart.isOn(); }));
    connect(this, &ToggleRow::toggled, this, &StartAtLoginRow::store);
}

void StartAtLoginRow::store(bool on)
{
    m_touched = true;
    m_wanted = on;
    // One write at a time, so the last flip is what the folder ends up holding.
    if (!m_writing)
        writeWanted();
}

void StartAtLoginRow::writeWanted()
{
    const bool on = *m_wanted;
    m_wanted.reset();
    m_writing = true;
    auto* watcher = new QFutureWatcher<bool>(this);
    connect(watcher, &QFutureWatcher<bool>::finished, this, [this, watcher, on] {
        watcher->deleteLater();
        m_writing = false;
        if (m_wanted) {
            writeWanted();
            return;
        }
        if (!watcher->result())
            setOn(!on);
        Q_EMIT settled(isOn());
    });
    const Autostart autostart = m_autostart;
    watcher->setFuture(QtConcurrent::run([autostart, on] { return autostart.setOn(on); }));
}
