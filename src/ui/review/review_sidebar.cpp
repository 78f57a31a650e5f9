#include "review_sidebar.h"

#include "common/numbers.h"
#include "controller/plan_model.h"
#include "review_filter_model.h"
#include "ui/theme/theme.h"

#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kGroupRole = Qt::UserRole + 1;

QTreeWidgetItem* rowFor(const QString& name, int count, const std::optional<QString>& group)
{
    auto* row = new QTreeWidgetItem({name, Numbers::count(count)});
    row->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    row->setData(0, kGroupRole, group ? QVariant(*group) : QVariant());
    row->setData(0, Qt::AccessibleTextRole, QString(name + u", "_s + Numbers::count(count)));
    row->setToolTip(0, name);
    return row;
}

} // namespace

ReviewSidebar::ReviewSidebar(PlanModel& plan, QWidget* parent)
    : QWidget(parent)
    , m_plan(plan)
    , m_rows(new QTreeWidget(this))
{
    auto* caption = new QLabel(tr("DESTINATIONS"), this);
    QFont small = caption->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    small.setWeight(QFont::DemiBold);
    small.setLetterSpacing(QFont::PercentageSpacing, 108);
    caption->setFont(small);
    QPalette quiet = caption->palette();
    quiet.setColor(QPalette::WindowText, Theme::muted);
    caption->setPalette(quiet);

    m_rows->setObjectName(u"destinations"_s);
    m_rows->setAccessibleName(tr("Destinations"));
    m_rows->setColumnCount(2);
    m_rows->setHeaderHidden(true);
    m_rows->setRootIsDecorated(false);
    m_rows->setIndentation(0);
    m_rows->setUniformRowHeights(true);
    m_rows->setFrameShape(QFrame::NoFrame);
    m_rows->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_rows->setTextElideMode(Qt::ElideMiddle);
    m_rows->header()->setStretchLastSection(false);
    m_rows->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_rows->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    m_rows->setStyleSheet(uR"(
QTreeWidget { background: transparent; outline: none; }
QTreeWidget::item { padding: 6px 4px; border: none; }
QTreeWidget::item:selected { background: %1; color: %2; }
QTreeWidget::item:hover:!selected { background: %3; }
)"_s.arg(Theme::sand.darker(104).name(), Theme::charcoal.name(), Theme::sand.lighter(103).name()));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 20, 8, 16);
    layout->setSpacing(8);
    layout->addWidget(caption);
    layout->addWidget(m_rows, 1);

    connect(m_rows, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* row) {
        const QVariant group = row->data(0, kGroupRole);
        m_selected = group.isValid() ? std::optional<QString>(group.toString()) : std::nullopt;
        Q_EMIT groupChosen(m_selected);
    });
    connect(m_rows, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* row) {
        // Arrow keys move through destinations like clicks do.
        if (!row || !m_rows->hasFocus())
            return;
        const QVariant group = row->data(0, kGroupRole);
        const std::optional<QString> chosen = group.isValid() ? std::optional<QString>(group.toString()) : std::nullopt;
        if (chosen != m_selected) {
            m_selected = chosen;
            Q_EMIT groupChosen(m_selected);
        }
    });
    connect(&plan, &PlanModel::countsChanged, this, &ReviewSidebar::rebuild);
    rebuild();
}

std::optional<QString> ReviewSidebar::selected() const
{
    return m_selected;
}

QTreeWidget* ReviewSidebar::rows() const
{
    return m_rows;
}

void ReviewSidebar::setNameFilter(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed == m_filter)
        return;
    m_filter = trimmed;
    m_everything = -1;
    rebuild();
}

void ReviewSidebar::setActive(bool active)
{
    m_active = active;
    if (active) {
        select(m_selected);
        return;
    }
    const QSignalBlocker quiet(m_rows);
    m_rows->clearSelection();
    m_rows->setCurrentItem(nullptr);
}

QList<GroupCount> ReviewSidebar::filteredGroups(int& everything) const
{
    if (m_filter.isEmpty()) {
        everything = m_plan.tabCount(PlanTab::organize);
        return m_plan.groups();
    }
    QHash<QString, int> counts;
    everything = 0;
    for (int row = 0; row < m_plan.rowCount(); ++row) {
        const PlanItem& item = m_plan.item(row);
        if (PlanTabs::contains(PlanTab::organize, item) && ReviewFilterModel::matches(item, m_filter)) {
            ++counts[item.group()];
            ++everything;
        }
    }
    QList<GroupCount> groups;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        groups.append({it.key(), it.value()});
    std::sort(groups.begin(), groups.end(), [](const GroupCount& a, const GroupCount& b) {
        return a.count != b.count ? a.count > b.count : a.name.localeAwareCompare(b.name) < 0;
    });
    return groups;
}

void ReviewSidebar::select(const std::optional<QString>& group)
{
    m_selected = group;
    if (!m_active)
        return;
    for (int i = 0; i < m_rows->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = m_rows->topLevelItem(i);
        const QVariant value = row->data(0, kGroupRole);
        const bool match = group ? value.isValid() && value.toString() == *group : !value.isValid();
        if (match) {
            const QSignalBlocker quiet(m_rows);
            m_rows->setCurrentItem(row);
        }
    }
}

void ReviewSidebar::rebuild()
{
    int everything = 0;
    const QList<GroupCount> groups = filteredGroups(everything);
    if (groups == m_shown && everything == m_everything)
        return;
    m_shown = groups;
    m_everything = everything;
    const QSignalBlocker quiet(m_rows);
    m_rows->clear();
    m_rows->addTopLevelItem(rowFor(tr("Everything"), everything, std::nullopt));
    bool stillThere = !m_selected;
    for (const GroupCount& group : groups) {
        m_rows->addTopLevelItem(rowFor(group.name, group.count, group.name));
        stillThere = stillThere || group.name == m_selected;
    }
    if (!stillThere && !m_filter.isEmpty()) {
        // The filter hides the group's files for now; the choice stays until it is cleared.
        m_rows->addTopLevelItem(rowFor(*m_selected, 0, m_selected));
    } else if (!stillThere) {
        m_selected.reset();
        Q_EMIT groupDropped();
    }
    select(m_selected);
}
