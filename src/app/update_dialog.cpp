#include "update_dialog.h"

#include "ui/panel/idle_panel.h"
#include "ui/panel/menu_view.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/secondary_button.h"
#include "updater.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

UpdateDialog::UpdateDialog(const UpdateFeed::Release& release, const QString& currentVersion, QWidget* parent)
    : QDialog(parent)
    , m_release(release)
{
    setWindowTitle(tr("Software Update"));
    auto* heading = new QLabel(tr("Brindlow %1 is available").arg(release.version), this);
    heading->setObjectName(u"updateHeading"_s);
    QFont font = heading->font();
    font.setPixelSize(18);
    font.setWeight(QFont::DemiBold);
    heading->setFont(font);
    auto* current = new QLabel(tr("You have version %1.").arg(currentVersion), this);
    current->setForegroundRole(QPalette::PlaceholderText);
    // The notes are ours, but shown as written rather than as markup.
    auto* notes = new QLabel(release.notes, this);
    notes->setObjectName(u"updateNotes"_s);
    notes->setTextFormat(Qt::PlainText);
    notes->setWordWrap(true);
    notes->setTextInteractionFlags(Qt::TextSelectableByMouse);
    notes->setVisible(!release.notes.isEmpty());

    auto* later = new SecondaryButton(tr("Later"), this);
    auto* open = new PrimaryButton(tr("Open Release Page"), this);
    open->setDefault(true);
    connect(later, &QPushButton::clicked, this, &QDialog::reject);
    connect(open, &QPushButton::clicked, this, [this] {
        QDesktopServices::openUrl(m_release.releasePage);
        accept();
    });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(later);
    buttons->addWidget(open);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 22, 24, 20);
    layout->setSpacing(10);
    layout->addWidget(heading);
    layout->addWidget(current);
    layout->addWidget(notes);
    layout->addSpacing(8);
    layout->addLayout(buttons);
    setMinimumWidth(380);
}

void UpdateDialog::attach(Updater& updater, MenuView& view)
{
    IdlePanel* idle = view.idlePanel();
    idle->offerUpdateChecks();
    idle->setUpdateAvailable(updater.updateAvailable());
    connect(&updater, &Updater::updateAvailableChanged, idle, &IdlePanel::setUpdateAvailable);
    connect(&view, &MenuView::updateCheckRequested, &updater, &Updater::checkForUpdates);
    connect(&updater, &Updater::upToDate, idle, [idle] { idle->showUpdateNote(tr("Brindlow is up to date.")); });
    connect(&updater, &Updater::checkFailed, idle, [idle] {
        idle->showUpdateNote(tr("Couldn't check for updates. Try again later."));
    });
    connect(&updater, &Updater::releaseOffered, &view, [&updater, shown = QPointer<UpdateDialog>()]() mutable {
        const std::optional<UpdateFeed::Release> release = updater.release();
        if (!release)
            return;
        // One dialog at a time, and always about the newest release.
        if (shown)
            shown->close();
        shown = new UpdateDialog(*release, updater.currentVersion());
        shown->setAttribute(Qt::WA_DeleteOnClose);
        shown->show();
        shown->raise();
        shown->activateWindow();
    });
}
