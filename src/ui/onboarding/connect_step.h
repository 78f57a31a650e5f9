#pragma once

#include <QWidget>

class Preferences;
class ServerEditor;
class SortWithPicker;
class QLabel;
class QLineEdit;
class QPushButton;

// The first set-up step: the person chooses what sorts their files, then pastes their Claude API
// key or names their own model server, and may try it; without a model nothing more is asked. The test runs in the
// background; the window stays alive while it does.
class ConnectStep : public QWidget
{
    Q_OBJECT

public:
    explicit ConnectStep(Preferences& preferences, QWidget* parent = nullptr);

    QString key() const;
    // Whether there is enough to go on: a Claude key, or a usable server address and model.
    bool ready() const;
    // Stores the choice with its key or server.
    void save();

Q_SIGNALS:
    void keyChanged(const QString& key);
    // Enter in the key field: the person means to go on.
    // keyChanged is also sent as the choice or the server changes.
    void submitted();

private:
    void test();
    void showResult(bool ok, const QString& text);

    void showChoice();

    Preferences& m_preferences;
    SortWithPicker* m_picker;
    QWidget* m_claude;
    ServerEditor* m_server;
    QLineEdit* m_key;
    QPushButton* m_test;
    QLabel* m_result;
    bool m_testing = false;
    QString m_testedKey;
};
