#include "sorting_source.h"

#include "controller/preferences.h"
#include "key_editor.h"
#include "server_editor.h"
#include "sort_with_picker.h"
#include "texts.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/spoken.h"

#include <QLabel>
#include <QVBoxLayout>

SortingSource::SortingSource(Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_picker(new SortWithPicker(SortWithPicker::Place::settings, this))
    , m_key(new KeyEditor(preferences, this))
    , m_server(new ServerEditor(preferences, this))
    , m_save(new SecondaryButton(tr("Use this server"), this, 32))
    , m_saved(Texts::label(QString(), Texts::Style::detail, this))
{
    m_save->setAccessibleName(tr("Use this server"));
    m_saved->hide();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(m_picker);
    layout->addWidget(m_key);
    layout->addWidget(m_server);
    layout->addWidget(m_save, 0, Qt::AlignLeft);
    layout->addWidget(m_saved);

    connect(m_picker, &SortWithPicker::chosen, this, &SortingSource::choose);
    connect(m_save, &QPushButton::clicked, this, &SortingSource::saveServer);
    connect(m_server, &ServerEditor::edited, this, [this] { m_saved->hide(); });
    connect(&m_preferences, &Preferences::profileChanged, this, &SortingSource::showProfile);
    showProfile();
}

void SortingSource::showProfile()
{
    const SortWith stored = m_preferences.profile().sortWith;
    m_picker->setChoice(stored);
    const bool server = m_picker->choice() == SortWith::ownServer;
    m_key->setVisible(m_picker->choice() == SortWith::claude);
    m_server->setVisible(server);
    m_save->setVisible(server);
}

void SortingSource::choose()
{
    const bool server = m_picker->choice() == SortWith::ownServer;
    m_key->setVisible(m_picker->choice() == SortWith::claude);
    m_server->setVisible(server);
    m_save->setVisible(server);
    m_saved->hide();
    if (server && m_server->problem())
        return; // stored once the person has given the server's address and model
    if (server) {
        saveServer();
        return;
    }
    Profile profile = m_preferences.profile();
    profile.sortWith = m_picker->choice();
    m_preferences.setProfile(profile);
}

void SortingSource::saveServer()
{
    m_saved->show();
    if (const std::optional<QString> problem = m_server->problem()) {
        Spoken::setText(m_saved, *problem);
        return;
    }
    if (!m_server->key().isEmpty())
        m_preferences.saveServerKey(m_server->key());
    Profile profile = m_preferences.profile();
    profile.sortWith = SortWith::ownServer;
    profile.server = m_server->server();
    m_preferences.setProfile(profile);
    Spoken::setText(m_saved, tr("Brindlow now sorts with your model server at %1.").arg(profile.server.displayName()));
}
