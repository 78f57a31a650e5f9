#include "single_instance.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QByteArrayView kOpenPanel = "open-panel\n";

// A folder, not a link to one, that belongs to this user and that nobody else may enter.
bool isPrivateFolder(const QString& path)
{
    struct stat info
    { };
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0 && S_ISDIR(info.st_mode)
        && info.st_uid == ::geteuid() && (info.st_mode & 077) == 0;
}

// Whether the program at the other end of `socket` runs as this user. Asked of the kernel, so
// that whoever made the socket file cannot pretend.
bool isOwnUser(const QLocalSocket& socket)
{
    ucred peer {};
    socklen_t size = sizeof peer;
    return ::getsockopt(int(socket.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0
        && peer.uid == ::geteuid();
}

} // namespace

SingleInstance::SingleInstance(QObject* parent)
    : QObject(parent)
    , m_server(new QLocalServer(this))
{
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* client = m_server->nextPendingConnection()) {
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            if (!isOwnUser(*client)) {
                client->abort();
                client->deleteLater();
                continue;
            }
            // Reading stops at the limit, so a client that never ends its line costs no more.
            client->setReadBufferSize(kMaxMessageBytes);
            connect(client, &QLocalSocket::readyRead, this, [this, client] { answer(client); });
        }
    });
}

void SingleInstance::answer(QLocalSocket* client)
{
    if (!client->canReadLine()) {
        if (client->bytesAvailable() >= kMaxMessageBytes)
            client->abort();
        return;
    }
    if (client->readLine(kMaxMessageBytes) == kOpenPanel) {
        client->write("ok\n");
        client->flush();
        Q_EMIT panelRequested();
    }
    client->disconnectFromServer();
}

QString SingleInstance::socketPath(QString* problem)
{
    const QString uid = QString::number(::geteuid());
    // The runtime folder is this user's alone when the session made it as it should.
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && isPrivateFolder(runtime))
        return runtime + u"/brindlow-"_s + uid + u".socket"_s;
    // Without one, a folder of our own: in the shared temporary folder another user could have
    // made it first, to take the hand-off or to keep Brindlow from starting.
    const QString folder = QDir::tempPath() + u"/brindlow-"_s + uid;
    ::mkdir(QFile::encodeName(folder).constData(), S_IRWXU);
    if (isPrivateFolder(folder))
        return folder + u"/brindlow.socket"_s;
    if (problem)
        *problem = tr("Brindlow can't start safely: %1 must be a folder that only you can open. Remove it, or ask "
                      "whoever looks after this computer to, then start Brindlow again.")
                       .arg(folder);
    return {};
}

bool SingleInstance::handOff(int timeoutMs)
{
    const QString path = socketPath();
    if (path.isEmpty())
        return false;
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(timeoutMs) || !isOwnUser(socket))
        return false;
    socket.write(kOpenPanel.data(), kOpenPanel.size());
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(timeoutMs))
            return false;
    }
    return socket.readLine(kMaxMessageBytes) == "ok\n";
}

bool SingleInstance::listen()
{
    m_problem.clear();
    const QString path = socketPath(&m_problem);
    if (path.isEmpty())
        return false;
    // Qt puts a private socket in place by renaming it over the path, which would quietly take
    // the place of a live Brindlow; so ask first whether one answers there.
    QLocalSocket probe;
    probe.connectToServer(path);
    if (probe.waitForConnected(500)) {
        if (!isOwnUser(probe))
            m_problem = tr("Brindlow can't start: another user's program answers at %1.").arg(path);
        return false;
    }
    // Nobody answers: a socket of ours there is what a crashed process left. Anything else is
    // not ours to remove.
    struct stat info
    { };
    const QByteArray encoded = QFile::encodeName(path);
    if (::lstat(encoded.constData(), &info) == 0) {
        if (!S_ISSOCK(info.st_mode) || info.st_uid != ::geteuid()) {
            m_problem
                = tr("Brindlow can't start: %1 is in the way. Move it elsewhere, then start Brindlow again.").arg(path);
            return false;
        }
        ::unlink(encoded.constData());
    }
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (m_server->listen(path))
        return true;
    m_problem = tr("Brindlow can't start: %1").arg(m_server->errorString());
    return false;
}

QString SingleInstance::problem() const
{
    return m_problem;
}
