#pragma once

#include <QAbstractListModel>

class OwnRules;

// The person's rules in their order, one row each ("*.torrent → Library/Torrents"), for the list
// in Settings. Rows are dragged to a new place; a drop moves the rule itself, and the rows
// follow the rules as they change here or in another Brindlow.
class RulesListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    static constexpr int kRowHeight = 30;

    enum Roles {
        IdRole = Qt::UserRole + 1,
    };

    explicit RulesListModel(OwnRules& rules, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool canDropMimeData(
        const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) const override;
    bool
    dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) override;

    // The row of the rule with this id, or -1.
    int rowOf(const QString& id) const;
    // What a row says: the conditions, an arrow, the action.
    static QString rowText(const QString& conditions, const QString& action);

private:
    // The dragged row, when the drag came from this very model.
    std::optional<int> draggedRow(const QMimeData* data) const;

    OwnRules& m_rules;
};
