#pragma once

#include "destination_choices.h"

#include <QMenu>

// "Move to…": the destinations as a menu with a sub-menu per folder that holds others, and
// "Choose folder…" for any folder of the home base. The folder picker opens only once the menu
// is gone, so the menu never sits under a dialog.
class MoveToMenu : public QMenu
{
    Q_OBJECT

public:
    struct Pick
    {
        bool made = false;
        std::optional<QString> folder; // none: leave it where it is
    };

    MoveToMenu(const DestinationChoices& choices, const QSet<QString>& movedByPlan, QWidget* parent = nullptr);

    // What was picked, asking for a folder first when "Choose folder…" was.
    Pick resolve();
    static Pick
    ask(const DestinationChoices& choices, const QSet<QString>& movedByPlan, QWidget* parent, const QPoint& globalPos);
    // A folder inside the home base, relative to it; nothing when cancelled or outside it.
    static std::optional<QString> chooseFolder(const QString& homeBase, QWidget* parent);

private:
    void fill(QMenu* menu, const QList<DestinationChoices::Choice>& choices);

    QString m_homeBase;
    Pick m_pick;
    bool m_wantsPicker = false;
};
