#pragma once

#include <QObject>
#include <QString>

class QLocalServer;
class QLocalSocket;

// One Brindlow per user session. The first process listens on a socket in a folder only its user
// may enter; a later start hands "open the panel" to it and ends, so autostart, the application
// menu and a terminal all reach the same program. Programs of other users are never talked to.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    explicit SingleInstance(QObject* parent = nullptr);

    // The socket every Brindlow of this user meets on: in the runtime folder, or without one in
    // a folder of the temporary folder made for this user alone. Empty, with the reason in
    // `problem`, when that folder is not this user's alone.
    static QString socketPath(QString* problem = nullptr);
    // Asks a running Brindlow of this user to open its panel; false when none answered.
    static bool handOff(int timeoutMs = 1000);
    // Starts answering later starts. A socket left behind by a crashed process is taken over.
    // False when another live process holds it, or when it cannot be had safely: problem() then
    // says why, for the person.
    bool listen();
    QString problem() const;

    // A hand-off is one short line; a client that sends more without ending it is dropped.
    static constexpr qint64 kMaxMessageBytes = 4096;

Q_SIGNALS:
    void panelRequested();

private:
    void answer(QLocalSocket* client);

    QLocalServer* m_server;
    QString m_problem;
};
