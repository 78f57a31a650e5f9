#pragma once

#include <QWidget>

class AppState;
class ToggleRow;

// The three preferences both windows offer: renaming, installers and Sunday Reset. Each flip is
// stored in the profile at once; there is no separate save.
class PreferenceRows : public QWidget
{
    Q_OBJECT

public:
    explicit PreferenceRows(AppState& state, QWidget* parent = nullptr);

private:
    void showProfile();

    AppState& m_state;
    ToggleRow* m_rename;
    ToggleRow* m_installers;
    ToggleRow* m_sundayReset;
};
