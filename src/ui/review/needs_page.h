#pragma once

#include "model/recap_data.h"

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
// name a project so its files find their folder.
class NeedsPage : public QWidget
{
    Q_OBJECT

public:
    NeedsPage(PlanReview& review, Preferences& preferences, PlanModel& plan, QWidget* parent = nullptr);

    void setNameFilter(const QString& text);
    PlanListView* list() const;
    DestinationChoices* choices() const;
    // Offers the destinations for the chosen items, under the current one.
    void chooseDestination();

protected:
    void showEvent(QShowEvent* event) override;

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
};
