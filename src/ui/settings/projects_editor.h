#pragma once

#include <QWidget>

class AppState;
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
    explicit ProjectsEditor(AppState& state, QWidget* parent = nullptr);

private:
    void showProjects();
    QWidget* projectRow(const QUuid& id, const QString& name, const QString& aliases);
    void remove(const QUuid& id);
    void add();

    AppState& m_state;
    QLabel* m_none;
    QWidget* m_list;
    QVBoxLayout* m_rows;
    QLineEdit* m_name;
    QLineEdit* m_aliases;
    QPushButton* m_add;
};
