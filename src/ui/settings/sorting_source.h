#pragma once

#include <QWidget>

class KeyEditor;
class Preferences;
class QLabel;
class QPushButton;
class ServerEditor;
class SortWithPicker;

// What sorts the files, in Settings: "Sort with", then Claude's key or the person's own server,
// or nothing more without a model. Going back to Claude or to no model is stored at once; a server is stored with its
// own button, once its address and model are usable.
class SortingSource : public QWidget
{
    Q_OBJECT

public:
    explicit SortingSource(Preferences& preferences, QWidget* parent = nullptr);

private:
    void choose();
    void saveServer();
    void showProfile();

    Preferences& m_preferences;
    SortWithPicker* m_picker;
    KeyEditor* m_key;
    ServerEditor* m_server;
    QPushButton* m_save;
    QLabel* m_saved;
};
