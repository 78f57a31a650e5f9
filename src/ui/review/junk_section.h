#pragma once

#include <QWidget>

class PlanReview;
class FirstRowsModel;
class PlanListView;
class PlanModel;
class QLabel;
class QPushButton;
class ReviewFilterModel;

// One group of the junk tab: its heading with the group's keep-or-include switch, its first
// items with their check boxes, and a line saying how many more the switch also covers.
class JunkSection : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kShown = 200;

    JunkSection(PlanReview& review, PlanModel& plan, const QString& group, QWidget* parent = nullptr);

    QString group() const;
    void setNameFilter(const QString& text);
    PlanListView* list() const;

Q_SIGNALS:
    void openRequested(const QModelIndex& index);

private:
    QList<qint64> groupIds() const;
    void refresh();

    PlanReview& m_review;
    QString m_group;
    ReviewFilterModel* m_model;
    FirstRowsModel* m_shown;
    PlanListView* m_list;
    QLabel* m_count;
    QLabel* m_kept;
    QPushButton* m_switch;
    QLabel* m_more;
};
