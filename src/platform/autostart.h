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
    // Whether the desktop will start the entry: there, and neither hidden nor switched off.
    bool isOn() const;
    // Puts the entry in place whole, so a desktop never reads half of it, or takes it away; an
    // entry that is not exactly ours goes to the trash. Returns whether the folder now says what
    // was asked.
    bool setOn(bool on) const;
    // The desktop entry's text.
    QByteArray entry() const;

private:
    QString m_entryPath;
    QString m_program;
};
