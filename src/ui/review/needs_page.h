#pragma once

#include "model/recap_data.h"

#include "model/plan_item.h"

#include <QHash>
#include <QSet>
#include <QWidget>

class PlanReview;
class Preferences;
class DestinationChoices;
class PlanListView;
class PlanModel;
class QLabel;
class QLayout;
class QLineEdit;
class QVBoxLayout;
class ReviewFilterModel;

// The Needs You tab: the files Brindlow was unsure about, each with a choice of where it goes,
// both choices for all of them at once, the projects the plan keeps hinting at, and a field to
// name a project so its files find their folder. A row sent somewhere stays in place, showing
// where it goes with "Undo", until the person leaves the tab: the list never moves under the
// pointer.
class NeedsPage : public QWidget
{
    Q_OBJECT

public:
    NeedsPage(PlanReview& review,
              Preferences& preferences,
              PlanModel& plan,
              DestinationChoices& choices,
              QWidget* parent = nullptr);

    void setNameFilter(const QString& text);
    PlanListView* list() const;
    DestinationChoices* choices() const;
    ReviewFilterModel* model() const;
    // Offers the destinations for the chosen items, under the current one.
    void chooseDestination();
    void moveItems(const QList<qint64>& ids, const QPoint& globalPos);
    // The item's menu: where the chosen items go, or a rule made from the item.
    void showContextMenu(const QModelIndex& index, const QList<qint64>& ids, const QPoint& globalPos);
    // Sends items somewhere (none: leave them), keeping their rows and what they were.
    void send(const QList<qint64>& ids, const std::optional<QString>& folder);
    void undo(const QList<qint64>& ids);
    bool isUndoable(qint64 id) const;

Q_SIGNALS:
    // "Always do this for files like this…" for that item.
    void ruleRequested(qint64 id);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QLayout* buildBulkChoices();
    QLayout* buildProjectAdding();
    QList<qint64> needsIds() const;
    void rebuildSuggestions();
    void addProject(const QString& name);

    PlanReview& m_review;
    ReviewFilterModel* m_model;
    PlanListView* m_list;
    DestinationChoices* m_choices;
    QWidget* m_suggestions;
    QVBoxLayout* m_suggestionsLayout;
    QList<GroupCount> m_shownSuggestions;
    QSet<QString> m_dismissed;
    QLineEdit* m_newProject;
    QLabel* m_addedNote;
    QWidget* m_undoAll;
    QHash<qint64, PlanItem> m_before; // what a choice made on this visit changed
};
