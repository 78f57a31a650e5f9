#pragma once

#include <QWidget>

class Preferences;
class QLabel;
class QLineEdit;
class QPushButton;

// The Claude API key in Settings: a field that never shows the stored key, only whether there is
// one, and a button that stores what was pasted.
class KeyEditor : public QWidget
{
    Q_OBJECT

public:
    explicit KeyEditor(Preferences& preferences, QWidget* parent = nullptr);

private:
    void showStored();
    void save();

    Preferences& m_preferences;
    QLineEdit* m_field;
    QPushButton* m_save;
    QLabel* m_saved;
    QLabel* m_stored;
};
