#pragma once

#include "model/user_rule.h"

#include <QDialog>
#include <QTimer>

class DestinationChoices;
class OwnRules;
class Preferences;
class QAbstractButton;
class QButtonGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class SizeField;

// One rule, new or kept: which items it takes (a name pattern, a kind, a folder, a site, a size
// range) and what happens to them. What is wrong with it is said as it is typed and Save waits
// until nothing is; how many items it would take is counted as it changes.
class RuleEditor : public QDialog
{
    Q_OBJECT

public:
    // A new rule, prefilled from `start` (empty for a blank one), or the kept rule with `start`'s
    // id, which Save replaces.
    enum class Mode {
        add,
        edit,
    };

    RuleEditor(OwnRules& rules,
               Preferences& preferences,
               const DestinationChoices& choices,
               const UserRule& start,
               Mode mode,
               QWidget* parent = nullptr);

    // The rule as the fields say now, before it is checked.
    UserRule typed() const;
    // The id of the rule saved, once it was.
    QString savedId() const;
    // What keeps the rule from being saved now; nothing when it can be.
    std::optional<QString> problem() const;

    // How the review offers a rule made from an item: "Always do this for files like this…".
    static QString offerText();

Q_SIGNALS:
    void saved(const QString& id);

private:
    QWidget* buildConditions();
    QWidget* buildAction();
    QWidget* buildButtons();
    void fill(const UserRule& rule);
    void fillDestinations();
    void check();
    void countMatches();
    void save();
    void showProblem(const std::optional<QString>& problem);

    OwnRules& m_rules;
    Preferences& m_preferences;
    const DestinationChoices& m_choices;
    Mode m_mode;
    QString m_id;
    QLineEdit* m_name;
    QComboBox* m_kind;
    QComboBox* m_folder;
    QLineEdit* m_site;
    SizeField* m_smallest;
    SizeField* m_largest;
    QButtonGroup* m_action;
    QComboBox* m_to;
    QLabel* m_problem;
    QLabel* m_matches;
    QPushButton* m_save;
    QTimer m_counting;
};
