#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

// One Brindlow per user session. The first process listens on a socket in the runtime folder;
// a later start hands "open the panel" to it and ends, so autostart, the application menu and a
// terminal all reach the same program.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    explicit SingleInstance(QObject* parent = nullptr);

    // The socket every Brindlow of this user meets on.
    static QString socketPath();
    // Asks a running Brindlow to open its panel; false when none answered.
    static bool handOff(int timeoutMs = 1000);
    // Starts answering later starts. A socket left behind by a crashed process is taken over;
    // false when another live process holds it.
    bool listen();

Q_SIGNALS:
    void panelRequested();

private:
    QLocalServer* m_server;
};
