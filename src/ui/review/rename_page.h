#pragma once

#include <QSet>
#include <QWidget>

class PlanReview;
class PlanListView;
class PlanModel;
class ReviewFilterModel;
class ThumbCache;

// The rename tab: each meaningless name beside the clear one proposed for it, each with its own
// yes or no. Refusing a rename leaves the file's move as it was.
class RenamePage : public QWidget
{
    Q_OBJECT

public:
    RenamePage(PlanReview& review, PlanModel& plan, ThumbCache& thumbs, QWidget* parent = nullptr);

    void setNameFilter(const QString& text);
    PlanListView* list() const;

Q_SIGNALS:
    void openRequested(const QModelIndex& index);

private:
    ThumbCache& m_thumbs;
    ReviewFilterModel* m_model;
    PlanListView* m_list;
    QSet<QString> m_asked; // thumbnails asked for by painted rows
};
