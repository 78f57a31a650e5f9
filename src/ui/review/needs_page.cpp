#include "needs_page.h"

#include "common/numbers.h"
#include "controller/plan_model.h"
#include "controller/plan_review.h"
#include "controller/preferences.h"
#include "destination_choices.h"
#include "model/home_tree.h"
#include "move_to_menu.h"
#include "plan_list_view.h"
#include "review_filter_model.h"
#include "review_header.h"
#include "row_delegate.h"
#include "ui/rules/rule_editor.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

// Two four-pointed stars: our own drawing, since emoji fonts are missing on many desktops.
QPixmap sparklePixmap(qreal ratio)
{
    QPixmap pixmap((QSizeF(18, 18) * ratio).toSize());
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::amber);
    const auto star = [&painter](QPointF centre, qreal radius) {
        const qreal waist = radius * 0.28;
        const QPointF points[] = {{centre.x(), centre.y() - radius},
                                  {centre.x() + waist, centre.y() - waist},
                                  {centre.x() + radius, centre.y()},
                                  {centre.x() + waist, centre.y() + waist},
                                  {centre.x(), centre.y() + radius},
                                  {centre.x() - waist, centre.y() + waist},
                                  {centre.x() - radius, centre.y()},
                                  {centre.x() - waist, centre.y() - waist}};
        painter.drawPolygon(points, 8);
    };
    star({7, 10}, 6.5);
    star({14, 4}, 3.5);
    return pixmap;
}

} // namespace

NeedsPage::NeedsPage(
    PlanReview& review, Preferences& preferences, PlanModel& plan, DestinationChoices& choices, QWidget* parent)
    : QWidget(parent)
    , m_review(review)
    , m_model(new ReviewFilterModel(&plan, PlanTab::needs, this))
    , m_list(new PlanListView(review, PlanListView::Toggles::nothing, this))
    , m_choices(&choices)
    , m_suggestions(new QWidget(this))
    , m_suggestionsLayout(new QVBoxLayout(m_suggestions))
    , m_newProject(new QLineEdit(this))
    , m_addedNote(new QLabel(this))
{
    auto* header = new ReviewHeader(
        this,
        tr("Needs You"),
        tr("Brindlow wasn't sure about these. Send them to a folder, or leave them where they are."));

    QLayout* bulk = buildBulkChoices();

    m_suggestionsLayout->setContentsMargins(0, 0, 0, 0);
    m_suggestionsLayout->setSpacing(4);

    QLayout* adding = buildProjectAdding();

    m_list->setObjectName(u"needsList"_s);
    m_list->setAccessibleName(tr("Files that need you"));
    m_list->setFrameShape(QFrame::NoFrame);
    auto* delegate = new RowDelegate(RowDelegate::Kind::needs, m_list);
    delegate->setUndoable(
        [this](const QModelIndex& index) { return isUndoable(index.data(PlanModel::IdRole).toLongLong()); });
    m_list->setItemDelegate(delegate);
    m_list->setModel(m_model);
    connect(m_list, &PlanListView::clickedAt, this, [this](const QModelIndex& index, const QPoint& pos) {
        const QRect row = m_list->visualRect(index);
        const qint64 id = index.data(PlanModel::IdRole).toLongLong();
        if (isUndoable(id) && RowDelegate::undoRect(row).contains(pos))
            undo({id});
        else if (RowDelegate::choiceRect(row).contains(pos))
            chooseDestination();
    });
    connect(m_list, &PlanListView::moveRequested, this, &NeedsPage::moveItems);
    // The keyboard's way to the Undo drawn in a row.
    connect(m_list, &PlanListView::undoRequested, this, [this] {
        QList<qint64> ids = m_list->chosenIds();
        ids.removeIf([this](qint64 id) { return !isUndoable(id); });
        undo(ids.isEmpty() ? m_before.keys() : ids);
    });
    connect(m_list, &PlanListView::contextMenuAt, this, &NeedsPage::showContextMenu);
    connect(m_list, &PlanListView::openRequested, this, &NeedsPage::chooseDestination);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(header);
    layout->addLayout(bulk);
    layout->addWidget(m_suggestions);
    layout->addLayout(adding);
    layout->addWidget(m_list, 1);

    connect(&review, &PlanReview::planChanged, this, &NeedsPage::rebuildSuggestions);
    connect(&preferences, &Preferences::profileChanged, this, &NeedsPage::rebuildSuggestions);
    rebuildSuggestions();
}

QLayout* NeedsPage::buildBulkChoices()
{
    auto* leaveAll = new SecondaryButton(tr("Leave all where they are"), this, 32);
    leaveAll->setAccessibleName(leaveAll->text());
    auto* needsFolder = new SecondaryButton(tr("Needs You folder"), this, 32);
    needsFolder->setAccessibleName(needsFolder->text());
    auto* undoAll = new SecondaryButton(tr("Undo"), this, 32);
    undoAll->setAccessibleName(tr("Undo these choices"));
    undoAll->hide();
    m_undoAll = undoAll;
    connect(leaveAll, &QPushButton::clicked, this, [this] { send(needsIds(), std::nullopt); });
    connect(needsFolder, &QPushButton::clicked, this, [this] { send(needsIds(), HomeTree::needsYou()); });
    connect(undoAll, &QPushButton::clicked, this, [this] { undo(m_before.keys()); });
    auto* bulk = new QHBoxLayout;
    bulk->setSpacing(8);
    bulk->addWidget(leaveAll);
    bulk->addWidget(needsFolder);
    bulk->addWidget(undoAll);
    bulk->addStretch(1);
    return bulk;
}

QLayout* NeedsPage::buildProjectAdding()
{
    m_newProject->setPlaceholderText(tr("Add a project, e.g. Penwick"));
    m_newProject->setAccessibleName(tr("Add a project"));
    m_newProject->setClearButtonEnabled(true);
    m_newProject->setFixedWidth(320);
    m_addedNote->setAccessibleName(tr("Project added"));
    m_addedNote->hide();
    connect(m_newProject, &QLineEdit::returnPressed, this, [this] {
        const QString name = m_newProject->text().trimmed();
        if (name.isEmpty())
            return;
        m_newProject->clear();
        addProject(name);
    });
    auto* adding = new QHBoxLayout;
    adding->setSpacing(12);
    adding->addWidget(m_newProject);
    adding->addWidget(m_addedNote);
    adding->addStretch(1);
    return adding;
}

void NeedsPage::setNameFilter(const QString& text)
{
    m_model->setNameFilter(text);
}

PlanListView* NeedsPage::list() const
{
    return m_list;
}

DestinationChoices* NeedsPage::choices() const
{
    return m_choices;
}

ReviewFilterModel* NeedsPage::model() const
{
    return m_model;
}

void NeedsPage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_choices->refresh();
}

void NeedsPage::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    // Leaving the tab settles the choices: rows sent elsewhere go.
    m_before.clear();
    m_undoAll->hide();
    m_model->releaseHeld();
}

QList<qint64> NeedsPage::needsIds() const
{
    // The rows on screen, those just sent elsewhere included, so a bulk choice covers them too.
    QList<qint64> ids;
    for (int row = 0; row < m_model->rowCount(); ++row)
        ids.append(m_model->index(row, 0).data(PlanModel::IdRole).toLongLong());
    return ids;
}

bool NeedsPage::isUndoable(qint64 id) const
{
    return m_before.contains(id);
}

void NeedsPage::send(const QList<qint64>& ids, const std::optional<QString>& folder)
{
    for (const qint64 id : ids) {
        const int row = m_review.rowOf(id);
        if (row >= 0 && !m_before.contains(id))
            m_before.insert(id, m_review.plan().at(row));
    }
    m_model->hold(ids);
    m_review.setDestination(ids, folder);
    m_undoAll->setVisible(ids.size() > 1 || m_before.size() > 1);
}

void NeedsPage::undo(const QList<qint64>& ids)
{
    QList<PlanItem> before;
    for (const qint64 id : ids) {
        if (m_before.contains(id))
            before.append(m_before.take(id));
    }
    m_review.putBack(before);
    m_undoAll->setVisible(m_before.size() > 1);
    m_list->viewport()->update();
}

void NeedsPage::moveItems(const QList<qint64>& ids, const QPoint& globalPos)
{
    if (ids.isEmpty())
        return;
    const MoveToMenu::Pick pick = MoveToMenu::ask(*m_choices, m_choices->movedByPlan(m_review.plan()), this, globalPos);
    if (pick.made)
        send(ids, pick.folder);
}

void NeedsPage::showContextMenu(const QModelIndex& index, const QList<qint64>& ids, const QPoint& globalPos)
{
    if (ids.isEmpty())
        return;
    MoveToMenu menu(*m_choices, m_choices->movedByPlan(m_review.plan()), this);
    menu.addSeparator();
    bool wantsRule = false;
    connect(menu.addAction(RuleEditor::offerText()), &QAction::triggered, this, [&wantsRule] { wantsRule = true; });
    menu.exec(globalPos);
    if (wantsRule) {
        Q_EMIT ruleRequested(index.data(PlanModel::IdRole).toLongLong());
        return;
    }
    const MoveToMenu::Pick pick = menu.resolve();
    if (pick.made)
        send(ids, pick.folder);
}

void NeedsPage::chooseDestination()
{
    const QRect row = m_list->visualRect(m_list->currentIndex());
    const QPoint at = row.isValid() ? RowDelegate::choiceRect(row).bottomLeft() : QPoint();
    moveItems(m_list->chosenIds(), m_list->viewport()->mapToGlobal(at));
}

void NeedsPage::addProject(const QString& name)
{
    const int filed = m_review.addProject(name);
    m_addedNote->setText(tr("Added %1: ").arg(name) + Numbers::count(filed) + tr(" files sorted into it."));
    m_addedNote->show();
}

void NeedsPage::rebuildSuggestions()
{
    QList<GroupCount> wanted;
    for (const GroupCount& suggestion : m_review.projectSuggestions()) {
        if (!m_dismissed.contains(suggestion.name))
            wanted.append(suggestion);
    }
    if (wanted == m_shownSuggestions)
        return;
    m_shownSuggestions = wanted;
    while (QLayoutItem* item = m_suggestionsLayout->takeAt(0)) {
        // The button being clicked may be among these: it goes once its click is over.
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->deleteLater();
        }
        delete item;
    }
    for (const GroupCount& suggestion : std::as_const(wanted)) {
        auto* row = new QWidget(m_suggestions);
        auto* sparkle = new QLabel(row);
        sparkle->setPixmap(sparklePixmap(devicePixelRatioF()));
        sparkle->setAccessibleName(tr("Suggestion"));
        auto* lead = new QLabel(tr("Looks like a project:"), row);
        auto* name = new QLabel(suggestion.name, row);
        QFont bold = name->font();
        bold.setWeight(QFont::DemiBold);
        name->setFont(bold);
        auto* count = new QLabel(u"("_s + Numbers::count(suggestion.count) + tr(" files") + u")"_s, row);
        auto* accept = new QPushButton(tr("Add as project"), row);
        accept->setFlat(true);
        accept->setAccessibleName(tr("Add %1 as a project").arg(suggestion.name));
        auto* dismiss = new QPushButton(u"\u2715"_s, row);
        dismiss->setFlat(true);
        dismiss->setAccessibleName(tr("Dismiss %1").arg(suggestion.name));
        dismiss->setToolTip(tr("Not a project"));
        connect(accept, &QPushButton::clicked, this, [this, name = suggestion.name] { addProject(name); });
        connect(dismiss, &QPushButton::clicked, this, [this, name = suggestion.name] {
            m_dismissed.insert(name);
            rebuildSuggestions();
        });
        auto* layout = new QHBoxLayout(row);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(6);
        for (QWidget* part : std::initializer_list<QWidget*> {sparkle, lead, name, count, accept, dismiss})
            layout->addWidget(part);
        layout->addStretch(1);
        m_suggestionsLayout->addWidget(row);
    }
    m_suggestions->setVisible(!wanted.isEmpty());
}
