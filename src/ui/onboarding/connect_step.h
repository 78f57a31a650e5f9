#pragma once

#include <QWidget>

class Preferences;
class QLabel;
class QLineEdit;
class QPushButton;

// The first set-up step: the person pastes their Claude API key and may try it. The test runs
// in the background; the window stays alive while it does.
class ConnectStep : public QWidget
{
    Q_OBJECT

public:
    explicit ConnectStep(Preferences& preferences, QWidget* parent = nullptr);

    QString key() const;

Q_SIGNALS:
    void keyChanged(const QString& key);
    // Enter in the key field: the person means to go on.
    void submitted();

private:
    void test();
    void showResult(bool ok, const QString& text);

    Preferences& m_preferences;
    QLineEdit* m_key;
    QPushButton* m_test;
    QLabel* m_result;
    bool m_testing = false;
    QString m_testedKey;
};
