#include "single_instance.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QByteArrayView kOpenPanel = "open-panel\n";

} // namespace

SingleInstance::SingleInstance(QObject* parent)
    : QObject(parent)
    , m_server(new QLocalServer(this))
{
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* client = m_server->nextPendingConnection()) {
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QLocalSocket::readyRead, this, [this, client] {
                if (!client->canReadLine())
                    return;
                const QByteArray line = client->readLine();
                if (line == kOpenPanel) {
                    client->write("ok\n");
                    client->flush();
                    Q_EMIT panelRequested();
                }
                client->disconnectFromServer();
            });
        }
    });
}

QString SingleInstance::socketPath()
{
    QString dir = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (dir.isEmpty())
        dir = QDir::tempPath();
    // The runtime folder is per user already; the user id keeps a shared temporary folder apart.
    return dir + u"/brindlow-"_s + QString::number(::getuid()) + u".socket"_s;
}

bool SingleInstance::handOff(int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(kOpenPanel.data(), kOpenPanel.size());
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(timeoutMs))
            return false;
    }
    return socket.readLine() == "ok\n";
}

bool SingleInstance::listen()
{
    // Qt puts a private socket in place by renaming it over the path, which would quietly take
    // the place of a live Brindlow; so ask first whether one answers there.
    QLocalSocket probe;
    probe.connectToServer(socketPath());
    if (probe.waitForConnected(500))
        return false;
    // Nobody answers: what is left is a crashed process's socket.
    QLocalServer::removeServer(socketPath());
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    return m_server->listen(socketPath());
}
