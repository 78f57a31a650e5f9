#pragma once

#include <QByteArray>
#include <QString>

// Starting Brindlow when the person logs in, through the desktop's autostart folder
// (an entry in ~/.config/autostart). The weekly reminder and Sunday Reset only happen while the
// program runs, so a tray utility like ours is expected to start by itself. Every call touches
// the disk: not for the UI thread.
class Autostart
{
public:
    // The entry in the person's autostart folder, started as `program`.
    Autostart();
    Autostart(const QString& entryPath, const QString& program);

    static QString defaultEntryPath();

    QString entryPath() const;
    bool isOn() const;
    // Writes the entry (atomically, so a desktop never reads half of it) or removes it; returns
    // whether the folder now says what was asked.
    bool setOn(bool on) const;
    // The desktop entry's text.
    QByteArray entry() const;

private:
    QString m_entryPath;
    QString m_program;
};
