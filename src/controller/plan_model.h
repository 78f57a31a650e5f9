#pragma once

#include "model/plan_tab.h"
#include "model/recap_data.h"

#include <QAbstractListModel>
#include <QPointer>

#include <array>
#include <optional>

class PlanReview;

// The open plan as a list model for views: one row per plan item, in plan order. Edits made
// through the controller arrive as dataChanged for exactly the rows they touched; only a new
// plan resets the model.
class PlanModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        NameRole, // the file name as it is now
        PathRole, // the local path of the item
        FolderRole, // where the item is, relative to the home folder
        SizeRole,
        KindRole, // FileKind as int
        CategoryRole,
        DestinationRole,
        GroupRole,
        JunkGroupRole,
        NewNameRole, // empty when no rename is proposed
        ApprovedRole,
        RenameApprovedRole,
        ReasonRole, // as reasonOf() tells it
        SuggestedProjectRole,
    };

    explicit PlanModel(PlanReview* review, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    // Checking a row approves its move; RenameApprovedRole approves its rename; NewNameRole
    // takes a typed name (without its extension) for the file.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QHash<int, QByteArray> roleNames() const override;

    const PlanItem& item(int row) const;
    PlanReview* review() const;

    // Why an item goes where it goes, as the person reads it: a duplicate names the copy that
    // stays, relative to the home folder.
    static QString reasonOf(const PlanItem& item);

    int tabCount(PlanTab tab) const;
    int approvedCount() const;
    // The organize items by destination group, largest first.
    QList<GroupCount> groups() const;

Q_SIGNALS:
    // Tab counts, the approved count or the groups may have changed.
    void countsChanged();

private:
    // What one row adds to the counts; kept so that an edit adjusts them instead of recounting
    // 25,000 rows.
    struct RowFacts
    {
        quint8 tabs = 0; // a bit per PlanTab
        bool approved = false;
        QString group; // organized items only
    };
    static RowFacts factsOf(const PlanItem& item);
    void count(const RowFacts& facts, int sign);
    void recountAll();
    void changed(const QList<int>& rows);

    QPointer<PlanReview> m_review;
    QList<RowFacts> m_facts;
    std::array<int, 4> m_tabCounts {};
    int m_approved = 0;
    QHash<QString, int> m_groupCounts;
    mutable std::optional<QList<GroupCount>> m_groups; // sorted, made when asked for
};
