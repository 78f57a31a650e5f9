#include "preferences_step.h"

#include "ui/settings/folder_choices.h"
#include "ui/settings/mode_picker.h"
#include "ui/settings/preference_rows.h"
#include "ui/settings/texts.h"
#include "ui/theme/card.h"

#include <QLabel>
#include <QVBoxLayout>

PreferencesStep::PreferencesStep(Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_folders(nullptr)
{
    auto* choices = new Card(this);
    choices->content()->addWidget(new PreferenceRows(preferences, choices));
    auto* sorting = new Card(this);
    m_folders = new FolderChoices(preferences, sorting);
    sorting->content()->addWidget(m_folders);
    sorting->content()->addSpacing(6);
    sorting->content()->addWidget(new ModePicker(preferences, sorting));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(Texts::label(tr("A few preferences"), Texts::Style::heading, this));
    layout->addWidget(Texts::label(tr("Brindlow learns your projects and brands on its own during your first refresh. "
                                      "You can change these any time in Settings."),
                                   Texts::Style::body,
                                   this));
    layout->addSpacing(4);
    layout->addWidget(choices);
    layout->addWidget(sorting);
}

FolderChoices* PreferencesStep::folders() const
{
    return m_folders;
}
