#pragma once

#include <QHash>
#include <QPersistentModelIndex>
#include <QWidget>

#include <optional>

class PlanReview;
class PlanListView;
class PlanModel;
class QLabel;
class ReviewFilterModel;
class ThumbCache;

// The organize tab: a heading for the chosen destination and a grid of tiles, one per file.
// Thumbnails are asked for only by painted tiles and withdrawn when those scroll away, so a fast
// scroll through thousands of photos never queues work for pictures nobody will see.
class OrganizePage : public QWidget
{
    Q_OBJECT

public:
    OrganizePage(PlanReview& review, PlanModel& plan, ThumbCache& thumbs, QWidget* parent = nullptr);

    void setGroup(const std::optional<QString>& group);
    std::optional<QString> group() const;
    void setNameFilter(const QString& text);
    PlanListView* grid() const;
    ReviewFilterModel* model() const;
    // How many thumbnails are asked for and not yet come.
    int pendingThumbnails() const;

Q_SIGNALS:
    void openRequested(const QModelIndex& index);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Shares the room left over in a row among its tiles, so the grid fills the window evenly
    // instead of leaving a wide empty band on the right.
    void spreadColumns();
    void updateHeader();
    void want(const QString& path, const QModelIndex& index);
    void arrived(const QString& path);
    void dropHidden();
    void dropAll();

    ThumbCache& m_thumbs;
    ReviewFilterModel* m_model;
    PlanListView* m_grid;
    QLabel* m_title;
    QLabel* m_subtitle;
    QHash<QString, QPersistentModelIndex> m_pending;
};
