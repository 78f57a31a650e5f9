#include "install_offer.h"

#include "platform/program_launcher.h"
#include "ui/theme/sunrise_mark.h"

#include <QBuffer>
#include <QDir>
#include <QEventLoop>
#include <QFutureWatcher>
#include <QImage>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QStandardPaths>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

InstallOffer::InstallOffer(SelfInstall::Places places, const ProgramLauncher& launcher, Presenter present)
    : m_places(std::move(places))
    , m_launcher(launcher)
    , m_present(present ? std::move(present) : Presenter([](QMessageBox& box) { box.exec(); }))
{ }

SelfInstall::Places InstallOffer::currentPlaces()
{
    return {QCoreApplication::applicationFilePath(),
            QDir::homePath(),
            QStringLiteral(BRINDLOW_INSTALL_PREFIX),
            QStandardPaths::writableLocation(QStandardPaths::DownloadLocation),
            FileIdentity::of(u"/proc/self/exe"_s)};
}

QList<SelfInstall::Icon> InstallOffer::icons()
{
    QList<SelfInstall::Icon> icons;
    for (const int size : {16, 24, 32, 48, 64, 128, 256, 512}) {
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        SunriseMark::paint(painter, QRectF(0, 0, size, size), true);
        painter.end();
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        icons.append({size, png});
    }
    return icons;
}

bool InstallOffer::run()
{
    if (SelfInstall::isInstalled(m_places) || !accepted())
        return false;
    const Outcome outcome = installInBackground();
    if (outcome == Outcome::notInstalled)
        tell(tr("Couldn't move Brindlow"),
             tr("Drag Brindlow into your Applications folder yourself, then open it from there."));
    if (outcome == Outcome::notStarted)
        tell(tr("Couldn't open the moved Brindlow"),
             tr("Brindlow is in your Applications folder now, but couldn't be started from there. This copy keeps "
                "running."));
    return outcome == Outcome::started;
}

bool InstallOffer::accepted()
{
    QMessageBox box;
    box.setIcon(QMessageBox::Question);
    box.setText(tr("Move Brindlow to Applications?"));
    box.setInformativeText(
        tr("It will live in your Applications folder and in your menu bar, and keep itself up to date."));
    QPushButton* move = box.addButton(tr("Move to Applications"), QMessageBox::AcceptRole);
    QPushButton* notNow = box.addButton(tr("Not Now"), QMessageBox::RejectRole);
    box.setDefaultButton(move);
    box.setEscapeButton(notNow);
    m_present(box);
    return box.clickedButton() == move;
}

void InstallOffer::tell(const QString& text, const QString& details)
{
    QMessageBox box;
    box.setIcon(QMessageBox::Warning);
    box.setText(text);
    box.setInformativeText(details);
    box.setDefaultButton(box.addButton(QMessageBox::Ok));
    m_present(box);
}

InstallOffer::Outcome InstallOffer::installInBackground()
{
    // Copying a large program off the UI thread keeps the desktop's "not responding" away.
    const auto work = [places = m_places, &launcher = m_launcher, icons = icons()] {
        const std::optional<QString> installed = SelfInstall::install(places, icons);
        if (!installed)
            return Outcome::notInstalled;
        // Started at once and directly, so that a copy that cannot run is known while this one
        // still can stay. This process never listened for later starts, so the new one does not
        // hand off to it.
        if (!launcher.startDetached(*installed, {}))
            return Outcome::notStarted;
        SelfInstall::trashDownloadedCopy(places);
        return Outcome::started;
    };
    QFutureWatcher<Outcome> watcher;
    QEventLoop loop;
    QObject::connect(&watcher, &QFutureWatcherBase::finished, &loop, &QEventLoop::quit);
    watcher.setFuture(QtConcurrent::run(work));
    if (!watcher.isFinished())
        loop.exec();
    return watcher.result();
}
