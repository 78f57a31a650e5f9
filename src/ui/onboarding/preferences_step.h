#pragma once

#include <QWidget>

class Preferences;
class FolderChoices;

// The second set-up step: the three preferences, the folders to sort and the model. Each choice
// is stored as it is made, like in Settings.
class PreferencesStep : public QWidget
{
    Q_OBJECT

public:
    explicit PreferencesStep(Preferences& preferences, QWidget* parent = nullptr);

    FolderChoices* folders() const;

private:
    FolderChoices* m_folders;
};
