#pragma once

#include "controller/plan_filter_model.h"

#include <QSet>

struct PlanItem;

// One tab (and group) of the review, narrowed further by the text of the filter field.
class ReviewFilterModel : public PlanFilterModel
{
    Q_OBJECT

public:
    ReviewFilterModel(PlanModel* source, PlanTab tab, QObject* parent = nullptr);

    // Whether the filter text names the item or the folder it is in ("Downloads").
    static bool matches(const PlanItem& item, const QString& text);

    void setNameFilter(const QString& text);
    QString nameFilter() const;
    // Switches group with one layout change: removing thousands of scattered rows one range at a
    // time would make the grid relayout for each of them.
    void switchGroup(const std::optional<QString>& group);
    // Items kept in view even after an edit takes them out of the tab, so a row does not vanish
    // from under the pointer; releasing them lets them go.
    void hold(const QList<qint64>& ids);
    bool isHeld(qint64 id) const;
    void releaseHeld();
    // The proxy row of an item, or -1.
    int rowOfId(qint64 id) const;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    void refilterQuietly(const std::function<void()>& change);

    PlanModel* m_plan;
    QString m_name;
    QSet<qint64> m_held;
};
