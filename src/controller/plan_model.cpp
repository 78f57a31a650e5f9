#include "plan_model.h"

#include "plan_review.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

PlanModel::PlanModel(PlanReview* review, QObject* parent)
    : QAbstractListModel(parent)
    , m_review(review)
{
    connect(review, &PlanReview::planAboutToBeReset, this, [this] { beginResetModel(); });
    connect(review, &PlanReview::planReset, this, [this] {
        recountAll();
        endResetModel();
        Q_EMIT countsChanged();
    });
    connect(review, &PlanReview::planItemsChanged, this, &PlanModel::changed);
    recountAll();
}

PlanReview* PlanModel::review() const
{
    return m_review;
}

QString PlanModel::reasonOf(const PlanItem& item)
{
    if (item.category != Category::duplicate || !item.keptCopy)
        return item.reason;
    const QString relative = QDir::home().relativeFilePath(*item.keptCopy);
    return tr("Same as %1, which stays").arg(relative.startsWith(u"..") ? *item.keptCopy : relative);
}

int PlanModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() || !m_review ? 0 : int(m_review->plan().size());
}

const PlanItem& PlanModel::item(int row) const
{
    return m_review->plan().at(row);
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
            // The whole name, however the view had to shorten it.
            return QString(it.src.fileName() + u'\n' + reasonOf(it));
        case ReasonRole:
            return reasonOf(it);
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
            return it.category.text();
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
        m_review->setApproved({it.id}, wanted);
        return true;
    }
    if (role == NewNameRole)
        return m_review->setNewName(it.id, value.toString()).has_value();
    if (role == RenameApprovedRole) {
        if (it.renameApproved != value.toBool())
            m_review->toggleRename(it.id);
        return true;
    }
    return false;
}

Qt::ItemFlags PlanModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    // Editable: the name a file gets; views that offer no editor never start one.
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemIsEditable
        | Qt::ItemNeverHasChildren;
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

PlanModel::RowFacts PlanModel::factsOf(const PlanItem& item)
{
    RowFacts facts;
    for (const PlanTab tab : {PlanTab::organize, PlanTab::rename, PlanTab::junk, PlanTab::needs}) {
        if (PlanTabs::contains(tab, item))
            facts.tabs |= quint8(1u << int(tab));
    }
    facts.approved = item.approved;
    if (PlanTabs::isOrganized(item))
        facts.group = item.group();
    return facts;
}

void PlanModel::count(const RowFacts& facts, int sign)
{
    for (size_t tab = 0; tab < m_tabCounts.size(); ++tab)
        m_tabCounts[tab] += sign * ((facts.tabs >> tab) & 1);
    m_approved += sign * int(facts.approved);
    if (facts.tabs & (1u << int(PlanTab::organize))) {
        int& groupCount = m_groupCounts[facts.group];
        groupCount += sign;
        if (groupCount == 0)
            m_groupCounts.remove(facts.group);
    }
    m_groups.reset();
}

void PlanModel::recountAll()
{
    m_facts.clear();
    m_tabCounts.fill(0);
    m_approved = 0;
    m_groupCounts.clear();
    if (!m_review)
        return;
    m_facts.reserve(m_review->plan().size());
    for (const PlanItem& item : m_review->plan()) {
        m_facts.append(factsOf(item));
        count(m_facts.last(), +1);
    }
}

void PlanModel::changed(const QList<int>& rows)
{
    QList<int> sorted = rows;
    std::sort(sorted.begin(), sorted.end());
    for (const int row : sorted) {
        count(m_facts[row], -1);
        m_facts[row] = factsOf(item(row));
        count(m_facts[row], +1);
    }
    // One signal per run of neighbouring rows, so a view repaints exactly what changed.
    for (qsizetype i = 0; i < sorted.size();) {
        qsizetype j = i;
        while (j + 1 < sorted.size() && sorted[j + 1] <= sorted[j] + 1)
            ++j;
        Q_EMIT dataChanged(index(sorted[i]), index(sorted[j]));
        i = j + 1;
    }
    Q_EMIT countsChanged();
}

int PlanModel::tabCount(PlanTab tab) const
{
    return m_tabCounts[size_t(tab)];
}

int PlanModel::approvedCount() const
{
    return m_approved;
}

QList<GroupCount> PlanModel::groups() const
{
    if (!m_groups) {
        QList<GroupCount> groups;
        for (auto it = m_groupCounts.cbegin(); it != m_groupCounts.cend(); ++it)
            groups.append({it.key(), it.value()});
        std::sort(groups.begin(), groups.end(), [](const GroupCount& a, const GroupCount& b) {
            return a.count != b.count ? a.count > b.count : a.name.localeAwareCompare(b.name) < 0;
        });
        m_groups = groups;
    }
    return *m_groups;
}
