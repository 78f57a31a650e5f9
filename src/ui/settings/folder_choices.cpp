#include "folder_choices.h"

#include "controller/preferences.h"
#include "texts.h"
#include "toggle_row.h"

#include <QDir>
#include <QFutureWatcher>
#include <QLabel>
#include <QStandardPaths>
#include <QVBoxLayout>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

FolderChoices::FolderChoices(Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_rows(new QWidget(this))
{
    auto* rows = new QVBoxLayout(m_rows);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(Texts::label(tr("FOLDERS TO SORT"), Texts::Style::caption, this));
    layout->addWidget(m_rows);
    layout->addWidget(
        Texts::label(tr("Organized folders are created in your Documents folder."), Texts::Style::detail, this));

    auto* watcher = new QFutureWatcher<QList<Choice>>(this);
    connect(watcher, &QFutureWatcher<QList<Choice>>::finished, this, [this, watcher] {
        build(watcher->result());
        watcher->deleteLater();
    });
    watcher->setFuture(QtConcurrent::run(&FolderChoices::resolve, QDir::homePath()));
    connect(&m_preferences, &Preferences::profileChanged, this, &FolderChoices::showProfile);
}

QList<FolderChoices::Choice> FolderChoices::resolve(const QString& home)
{
    const QDir homeDir(home);
    const QString cleanHome = QDir::cleanPath(home);
    QList<Choice> choices;
    const std::pair<QStandardPaths::StandardLocation, QString> locations[] = {
        {QStandardPaths::DesktopLocation, tr("Desktop")},
        {QStandardPaths::DownloadLocation, tr("Downloads")},
        {QStandardPaths::DocumentsLocation, tr("Documents")},
        {QStandardPaths::PicturesLocation, tr("Pictures")},
        {QStandardPaths::MoviesLocation, tr("Videos")},
    };
    for (const auto& [location, label] : locations) {
        const QString path = QDir::cleanPath(QStandardPaths::writableLocation(location));
        // A folder the desktop has switched off points at the home itself.
        if (path.isEmpty() || path == cleanHome || !path.startsWith(cleanHome + u'/'))
            continue;
        const Choice choice {label, homeDir.relativeFilePath(path)};
        if (!choices.contains(choice))
            choices.append(choice);
    }
    return choices;
}

bool FolderChoices::isLoaded() const
{
    return m_loaded;
}

void FolderChoices::build(const QList<Choice>& choices)
{
    for (const Choice& choice : choices) {
        // The real place is worth saying only when it is not simply the name shown.
        const QString detail = choice.relative == choice.label ? QString() : u"~/"_s + choice.relative;
        auto* row = new ToggleRow(choice.label, detail, m_rows);
        m_rows->layout()->addWidget(row);
        // The list may already be on screen; a new child would only show on a later pass.
        row->show();
        m_toggles.append({choice.relative, row});
        connect(row, &ToggleRow::toggled, this, [this, relative = choice.relative](bool on) { choose(relative, on); });
    }
    showProfile();
    m_loaded = true;
    // The window grows to hold the new rows.
    updateGeometry();
    Q_EMIT loaded();
}

void FolderChoices::showProfile()
{
    const QStringList& folders = m_preferences.profile().scanFolders;
    for (const auto& [relative, row] : std::as_const(m_toggles))
        row->setOn(folders.contains(relative));
}

void FolderChoices::choose(const QString& relative, bool on)
{
    Profile profile = m_preferences.profile();
    profile.scanFolders.removeAll(relative);
    if (on)
        profile.scanFolders.append(relative);
    m_preferences.setProfile(profile);
}
