#pragma once

#include <QWidget>

class DestinationChoices;
class OwnRules;
class Preferences;
class QLabel;
class QListView;
class QPushButton;
class RuleEditor;
class RulesListModel;

// "YOUR RULES": the person's rules in the order they are tried, moved by dragging, by the arrow
// buttons or by Alt+Up and Alt+Down; added, edited and removed here. The list follows the
// rules wherever they change.
class RulesSection : public QWidget
{
    Q_OBJECT

public:
    RulesSection(OwnRules& rules, Preferences& preferences, QWidget* parent = nullptr);

    QListView* list() const;
    RulesListModel* model() const;
    // The editor open now, if any.
    RuleEditor* editor() const;

    // Opens the editor for a new rule, or for the chosen one.
    void add();
    void edit();
    void removeChosen();
    // Moves the chosen rule one place up (-1) or down (1), keeping it chosen.
    void moveChosen(int by);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildButtons();
    void openEditor(const QString& id);
    void follow();
    void choose(const QString& id);
    QString chosenId() const;

    OwnRules& m_rules;
    Preferences& m_preferences;
    DestinationChoices* m_choices;
    RulesListModel* m_model;
    QLabel* m_none;
    QListView* m_list;
    QPushButton* m_edit;
    QPushButton* m_remove;
    QPushButton* m_up;
    QPushButton* m_down;
    RuleEditor* m_editor = nullptr;
    QString m_chosen; // the rule in hand, kept through the list starting over
};
