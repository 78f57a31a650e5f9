#include "plan_model.h"

#include "app_state.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

PlanModel::PlanModel(AppState* state, QObject* parent)
    : QAbstractListModel(parent)
    , m_state(state)
{
    connect(state, &AppState::planAboutToBeReset, this, [this] { beginResetModel(); });
    connect(state, &AppState::planReset, this, [this] {
        endResetModel();
        m_countsValid = false;
        Q_EMIT countsChanged();
    });
    connect(state, &AppState::planItemsChanged, this, &PlanModel::changed);
}

AppState* PlanModel::state() const
{
    return m_state;
}

int PlanModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() || !m_state ? 0 : int(m_state->plan().size());
}

const PlanItem& PlanModel::item(int row) const
{
    return m_state->plan().at(row);
}

QVariant PlanModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const PlanItem& it = item(index.row());
    switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
        case NameRole:
            return it.src.fileName();
        case Qt::ToolTipRole:
        case ReasonRole:
            return it.reason;
        case Qt::CheckStateRole:
            return it.approved ? Qt::Checked : Qt::Unchecked;
        case IdRole:
            return it.id;
        case PathRole:
            return it.src.toLocalFile();
        case FolderRole: {
            const QString folder = QFileInfo(it.src.toLocalFile()).path();
            const QString relative = QDir::home().relativeFilePath(folder);
            return relative.startsWith(u"..") ? folder : relative;
        }
        case SizeRole:
            return it.size;
        case KindRole:
            return int(it.kind);
        case CategoryRole:
            return it.category;
        case DestinationRole:
            return it.destFolder;
        case GroupRole:
            return it.group();
        case JunkGroupRole:
            return PlanTabs::junkGroup(it);
        case NewNameRole:
            return it.newName.value_or(QString());
        case ApprovedRole:
            return it.approved;
        case RenameApprovedRole:
            return it.renameApproved;
        case SuggestedProjectRole:
            return it.suggestedProject.value_or(QString());
        default:
            return {};
    }
}

bool PlanModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return false;
    const PlanItem& it = item(index.row());
    if (role == Qt::CheckStateRole || role == ApprovedRole) {
        const bool wanted = role == ApprovedRole ? value.toBool() : value.toInt() == Qt::Checked;
        m_state->setApproved({it.id}, wanted);
        return true;
    }
    if (role == RenameApprovedRole) {
        if (it.renameApproved != value.toBool())
            m_state->toggleRename(it.id);
        return true;
    }
    return false;
}

Qt::ItemFlags PlanModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemNeverHasChildren;
}

QHash<int, QByteArray> PlanModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert({{IdRole, "id"},
                  {NameRole, "name"},
                  {PathRole, "path"},
                  {FolderRole, "folder"},
                  {SizeRole, "size"},
                  {KindRole, "kind"},
                  {CategoryRole, "category"},
                  {DestinationRole, "destination"},
                  {GroupRole, "group"},
                  {JunkGroupRole, "junkGroup"},
                  {NewNameRole, "newName"},
                  {ApprovedRole, "approved"},
                  {RenameApprovedRole, "renameApproved"},
                  {ReasonRole, "reason"},
                  {SuggestedProjectRole, "suggestedProject"}});
    return names;
}

void PlanModel::changed(const QList<int>& rows)
{
    QList<int> sorted = rows;
    std::sort(sorted.begin(), sorted.end());
    // One signal per run of neighbouring rows, so a view repaints exactly what changed.
    for (qsizetype i = 0; i < sorted.size();) {
        qsizetype j = i;
        while (j + 1 < sorted.size() && sorted[j + 1] <= sorted[j] + 1)
            ++j;
        Q_EMIT dataChanged(index(sorted[i]), index(sorted[j]));
        i = j + 1;
    }
    m_countsValid = false;
    Q_EMIT countsChanged();
}

void PlanModel::recount() const
{
    if (m_countsValid)
        return;
    m_tabCounts.fill(0);
    m_approved = 0;
    QHash<QString, int> groups;
    for (const PlanItem& it : m_state->plan()) {
        for (const PlanTab tab : {PlanTab::organize, PlanTab::rename, PlanTab::junk, PlanTab::needs})
            m_tabCounts[size_t(tab)] += PlanTabs::contains(tab, it);
        m_approved += it.approved;
        if (PlanTabs::isOrganized(it))
            ++groups[it.group()];
    }
    m_groups.clear();
    for (auto it = groups.cbegin(); it != groups.cend(); ++it)
        m_groups.append({it.key(), it.value()});
    std::sort(m_groups.begin(), m_groups.end(), [](const GroupCount& a, const GroupCount& b) {
        return a.count != b.count ? a.count > b.count : a.name.localeAwareCompare(b.name) < 0;
    });
    m_countsValid = true;
}

int PlanModel::tabCount(PlanTab tab) const
{
    recount();
    return m_tabCounts[size_t(tab)];
}

int PlanModel::approvedCount() const
{
    recount();
    return m_approved;
}

QList<GroupCount> PlanModel::groups() const
{
    recount();
    return m_groups;
}
