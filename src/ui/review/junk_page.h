#pragma once

#include <QWidget>

class PlanReview;
class JunkSection;
class PlanModel;
class QVBoxLayout;

// The junk tab: what would be set aside for the person to look over, in groups by the review
// folder each goes to, largest group first.
class JunkPage : public QWidget
{
    Q_OBJECT

public:
    JunkPage(PlanReview& review, PlanModel& plan, QWidget* parent = nullptr);

    void setNameFilter(const QString& text);
    QList<JunkSection*> sections() const;

Q_SIGNALS:
    void openRequested(const QModelIndex& index);
    void moveRequested(const QList<qint64>& ids, const QPoint& globalPos);
    void contextMenuAt(const QModelIndex& index, const QList<qint64>& ids, const QPoint& globalPos);
    void currentItemChanged(qint64 id);

private:
    void rebuild();

    PlanReview& m_review;
    PlanModel& m_plan;
    QString m_filter;
    QWidget* m_sectionsHolder;
    QVBoxLayout* m_sectionsLayout;
    QList<JunkSection*> m_sections;
};
