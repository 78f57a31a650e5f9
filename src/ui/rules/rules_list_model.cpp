#include "rules_list_model.h"

#include "controller/own_rules.h"

#include <QMimeData>
#include <QSize>

using namespace Qt::Literals::StringLiterals;

namespace {

QString mimeType()
{
    return u"application/x-brindlow-rule-row"_s;
}

} // namespace

RulesListModel::RulesListModel(OwnRules& rules, QObject* parent)
    : QAbstractListModel(parent)
    , m_rules(rules)
{
    // At most a few hundred short rows: telling the view to start over costs nothing worth
    // saving, and the rules may have changed in any way at all in another Brindlow.
    connect(&m_rules, &OwnRules::rulesChanged, this, [this] {
        beginResetModel();
        endResetModel();
    });
}

int RulesListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rules.rules().size());
}

QString RulesListModel::rowText(const QString& conditions, const QString& action)
{
    return tr("%1 \u2192 %2").arg(conditions, action);
}

QVariant RulesListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const UserRule& rule = m_rules.rules().at(index.row());
    switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
        case Qt::ToolTipRole:
            return rowText(rule.conditionsText(), rule.actionText());
        case IdRole:
            return rule.id;
        case Qt::SizeHintRole:
            // As wide as nothing: a row is as wide as the list, and a long rule is elided, not
            // scrolled to.
            return QSize(1, kRowHeight);
        default:
            return {};
    }
}

Qt::ItemFlags RulesListModel::flags(const QModelIndex& index) const
{
    // Dropping between rows only: a rule dropped onto another would have nowhere to go.
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

Qt::DropActions RulesListModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

QStringList RulesListModel::mimeTypes() const
{
    return {mimeType()};
}

QMimeData* RulesListModel::mimeData(const QModelIndexList& indexes) const
{
    if (indexes.isEmpty())
        return nullptr;
    auto* data = new QMimeData;
    // The id travels with the row: a rule changed elsewhere during the drag is not mistaken for it.
    const QString id = indexes.first().data(IdRole).toString();
    data->setData(mimeType(), (QString::number(indexes.first().row()) + u' ' + id).toUtf8());
    return data;
}

std::optional<int> RulesListModel::draggedRow(const QMimeData* data) const
{
    if (!data || !data->hasFormat(mimeType()))
        return std::nullopt;
    const QString text = QString::fromUtf8(data->data(mimeType()));
    bool ok = false;
    const int row = text.section(u' ', 0, 0).toInt(&ok);
    const QString id = text.section(u' ', 1);
    if (!ok || row < 0 || row >= rowCount() || m_rules.rules().at(row).id != id)
        return std::nullopt;
    return row;
}

bool RulesListModel::canDropMimeData(
    const QMimeData* data, Qt::DropAction action, int, int, const QModelIndex& parent) const
{
    return action == Qt::MoveAction && !parent.isValid() && draggedRow(data).has_value();
}

bool RulesListModel::dropMimeData(
    const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent)
{
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    const int from = *draggedRow(data);
    // `row` is the gap the rule was dropped in (-1: below the last); once the rule has left its
    // own place, every gap below it is one row higher.
    int to = row < 0 ? rowCount() : row;
    if (to > from)
        --to;
    if (to != from)
        m_rules.move(from, to);
    // The rule has moved already; the view must not remove the dragged row as well.
    return false;
}

int RulesListModel::rowOf(const QString& id) const
{
    const QList<UserRule>& rules = m_rules.rules();
    for (int row = 0; row < rules.size(); ++row) {
        if (rules[row].id == id)
            return row;
    }
    return -1;
}
