#include "file_opener.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace FileOpener {

void open(const QString& path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void showInFolder(const QString& path)
{
    const QString folder = QFileInfo(path).path();
    QDBusMessage call = QDBusMessage::createMethodCall(u"org.freedesktop.FileManager1"_s,
                                                       u"/org/freedesktop/FileManager1"_s,
                                                       u"org.freedesktop.FileManager1"_s,
                                                       u"ShowItems"_s);
    call << QStringList {QUrl::fromLocalFile(path).toString()} << QString();
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [folder](QDBusPendingCallWatcher* done) {
        if (done->isError())
            QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
        done->deleteLater();
    });
}

} // namespace FileOpener
