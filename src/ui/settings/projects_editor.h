#pragma once

#include <QWidget>

class Preferences;
class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

// The projects Brindlow knows, each removable, and a row to add one with its other names. Every
// change is stored in the profile at once.
class ProjectsEditor : public QWidget
{
    Q_OBJECT

public:
    explicit ProjectsEditor(Preferences& preferences, QWidget* parent = nullptr);

private:
    void showProjects();
    QWidget* projectRow(const QUuid& id, const QString& name, const QString& aliases);
    void remove(const QUuid& id);
    void add();

    Preferences& m_preferences;
    QLabel* m_none;
    QWidget* m_list;
    QVBoxLayout* m_rows;
    QLineEdit* m_name;
    QLineEdit* m_aliases;
    QPushButton* m_add;
};
