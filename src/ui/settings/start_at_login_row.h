#pragma once

#include "platform/autostart.h"
#include "toggle_row.h"

#include <optional>

// "Start Brindlow when you log in": shows and changes the desktop's autostart entry. The entry is
// read and written away from the UI thread; a write that fails puts the switch back.
class StartAtLoginRow : public ToggleRow
{
    Q_OBJECT

public:
    explicit StartAtLoginRow(const Autostart& autostart, QWidget* parent = nullptr);

Q_SIGNALS:
    // The switch shows what the autostart folder holds (after reading it, or after a change).
    void settled(bool on);

private:
    void store(bool on);
    void writeWanted();

    Autostart m_autostart;
    bool m_touched = false;
    bool m_writing = false;
    std::optional<bool> m_wanted; // flipped again while a write was under way
};
