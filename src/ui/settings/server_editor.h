#pragma once

#include "model/model_server.h"

#include <QWidget>

class Preferences;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

// A model server of the person's own: its address, its models, an optional key and how many
// requests it takes at once, with a test that lists its models and learns whether it takes
// images. It holds what was typed; the window that holds it stores it.
class ServerEditor : public QWidget
{
    Q_OBJECT

public:
    explicit ServerEditor(Preferences& preferences, QWidget* parent = nullptr);

    // What the fields say, with what the last test of this same server learned about images.
    ModelServer server() const;
    void setServer(const ModelServer& server);
    QString key() const;
    // Nothing when the address and the sorting model are usable; otherwise what is missing.
    std::optional<QString> problem() const;

Q_SIGNALS:
    void edited();

private:
    QLineEdit* field(const QString& name, const QString& placeholder);
    void test();
    void showResult(bool ok, const QString& text, const QStringList& models, int acceptsImages);
    void display(bool ok, const QString& shown);

    Preferences& m_preferences;
    QLineEdit* m_address;
    QLineEdit* m_model;
    QLineEdit* m_careful;
    QLineEdit* m_second;
    QLineEdit* m_key;
    QSpinBox* m_inFlight;
    QPushButton* m_test;
    QLabel* m_result;
    std::optional<bool> m_acceptsImages;
    bool m_testing = false;
    ModelServer m_tested;
};
