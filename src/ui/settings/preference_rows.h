#pragma once

#include <QWidget>

class Preferences;
class ToggleRow;

// The three preferences both windows offer: renaming, installers and Sunday Reset. Each flip is
// stored in the profile at once; there is no separate save.
class PreferenceRows : public QWidget
{
    Q_OBJECT

public:
    explicit PreferenceRows(Preferences& preferences, QWidget* parent = nullptr);

private:
    void showProfile();

    Preferences& m_preferences;
    ToggleRow* m_rename;
    ToggleRow* m_installers;
    ToggleRow* m_sundayReset;
};
