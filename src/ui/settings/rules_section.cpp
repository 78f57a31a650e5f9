#include "rules_section.h"

#include "controller/own_rules.h"
#include "texts.h"
#include "ui/review/destination_choices.h"
#include "ui/rules/rule_editor.h"
#include "ui/rules/rules_list_model.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

// Rows shown before the list scrolls: the settings window keeps its height on a small screen.
constexpr int kShownRows = 6;

} // namespace

RulesSection::RulesSection(OwnRules& rules, Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_rules(rules)
    , m_preferences(preferences)
    , m_choices(new DestinationChoices(preferences, this))
    , m_model(new RulesListModel(rules, this))
    , m_none(Texts::label(tr("Say once what always happens to some files: every *.torrent to Library/Torrents, "
                             "or never touch anything named keep. Your rules come before Brindlow's own."),
                          Texts::Style::detail,
                          this))
    , m_list(new QListView(this))
{
    m_none->setAccessibleName(m_none->text());
    m_list->setModel(m_model);
    m_list->setAccessibleName(tr("Your rules"));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setUniformItemSizes(true);
    m_list->setTextElideMode(Qt::ElideRight);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setDragDropMode(QAbstractItemView::InternalMove);
    m_list->setDefaultDropAction(Qt::MoveAction);
    m_list->setDropIndicatorShown(true);
    m_list->setStyleSheet(
        u"QListView { background: %1; border: 1px solid %2; border-radius: 8px; padding: 2px; }"
        u" QListView::item { padding: 0 6px; }"
        u" QListView::item:selected { background: %3; color: %4; border-radius: 6px; }"_s.arg(
            Theme::surface.name(), Theme::hairline.name(), Theme::sand.name(), Theme::charcoal.name()));
    m_list->installEventFilter(this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_none);
    layout->addWidget(m_list);
    layout->addWidget(buildButtons());

    connect(m_list, &QListView::doubleClicked, this, &RulesSection::edit);
    connect(m_model, &QAbstractItemModel::modelReset, this, &RulesSection::follow);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& index) {
        if (index.isValid())
            m_chosen = index.data(RulesListModel::IdRole).toString();
        follow();
    });
    follow();
}

QWidget* RulesSection::buildButtons()
{
    auto* box = new QWidget(this);
    auto* add = new SecondaryButton(tr("Add rule\u2026"), box, 32);
    m_edit = new SecondaryButton(tr("Edit\u2026"), box, 32);
    m_remove = new SecondaryButton(tr("Remove"), box, 32);
    m_up = new SecondaryButton(u"\u2191"_s, box, 32);
    m_down = new SecondaryButton(u"\u2193"_s, box, 32);
    add->setAccessibleName(tr("Add rule"));
    m_edit->setAccessibleName(tr("Edit rule"));
    m_remove->setAccessibleName(tr("Remove rule"));
    m_up->setAccessibleName(tr("Move up"));
    m_down->setAccessibleName(tr("Move down"));
    m_up->setToolTip(tr("Move up (Alt+Up)"));
    m_down->setToolTip(tr("Move down (Alt+Down)"));
    for (QPushButton* arrow : {m_up, m_down})
        arrow->setFixedWidth(36);
    connect(add, &QPushButton::clicked, this, &RulesSection::add);
    connect(m_edit, &QPushButton::clicked, this, &RulesSection::edit);
    connect(m_remove, &QPushButton::clicked, this, &RulesSection::removeChosen);
    connect(m_up, &QPushButton::clicked, this, [this] { moveChosen(-1); });
    connect(m_down, &QPushButton::clicked, this, [this] { moveChosen(1); });
    auto* layout = new QHBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(add);
    layout->addWidget(m_edit);
    layout->addWidget(m_remove);
    layout->addStretch(1);
    layout->addWidget(m_up);
    layout->addWidget(m_down);
    return box;
}

QListView* RulesSection::list() const
{
    return m_list;
}

RulesListModel* RulesSection::model() const
{
    return m_model;
}

RuleEditor* RulesSection::editor() const
{
    return m_editor;
}

QString RulesSection::chosenId() const
{
    const QModelIndex current = m_list->currentIndex();
    return current.isValid() ? current.data(RulesListModel::IdRole).toString() : QString();
}

void RulesSection::choose(const QString& id)
{
    const int row = m_model->rowOf(id);
    if (row < 0)
        return;
    const QModelIndex index = m_model->index(row);
    m_list->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    m_list->scrollTo(index);
}

void RulesSection::follow()
{
    const int rows = m_model->rowCount();
    // The rule in hand stays in hand when the list starts over, wherever it went.
    if (!m_chosen.isEmpty() && chosenId() != m_chosen)
        choose(m_chosen);
    m_none->setVisible(rows == 0);
    m_list->setVisible(rows > 0);
    // Room for the rows and the frame's border and padding around them.
    m_list->setFixedHeight(std::clamp(rows, 1, kShownRows) * RulesListModel::kRowHeight + 8);
    const int row = m_list->currentIndex().isValid() ? m_list->currentIndex().row() : -1;
    m_edit->setEnabled(row >= 0);
    m_remove->setEnabled(row >= 0);
    m_up->setEnabled(row > 0);
    m_down->setEnabled(row >= 0 && row < rows - 1);
}

void RulesSection::add()
{
    openEditor(QString());
}

void RulesSection::edit()
{
    const QString id = chosenId();
    if (!id.isEmpty())
        openEditor(id);
}

void RulesSection::openEditor(const QString& id)
{
    if (m_editor) {
        m_editor->raise();
        m_editor->activateWindow();
        return;
    }
    const QList<UserRule>& rules = m_rules.rules();
    const auto found
        = std::find_if(rules.cbegin(), rules.cend(), [&id](const UserRule& rule) { return rule.id == id; });
    const bool editing = !id.isEmpty() && found != rules.cend();
    // The home base's folders are listed afresh: the person may have made one since.
    m_choices->refresh();
    m_editor = new RuleEditor(m_rules,
                              m_preferences,
                              *m_choices,
                              editing ? *found : UserRule(),
                              editing ? RuleEditor::Mode::edit : RuleEditor::Mode::add,
                              this);
    m_editor->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_editor, &RuleEditor::saved, this, [this](const QString& saved) {
        m_chosen = saved;
        choose(saved);
    });
    // Gone for the person as soon as it closes, though it is deleted a moment later.
    connect(m_editor, &QDialog::finished, this, [this] { m_editor = nullptr; });
    m_editor->open();
}

void RulesSection::removeChosen()
{
    const QModelIndex current = m_list->currentIndex();
    if (!current.isValid())
        return;
    // The rule below takes its place in hand, so pressing Remove again goes on down the list.
    const int row = current.row();
    const int next = row + 1 < m_model->rowCount() ? row + 1 : row - 1;
    m_chosen = next >= 0 ? m_model->index(next).data(RulesListModel::IdRole).toString() : QString();
    m_rules.remove(current.data(RulesListModel::IdRole).toString());
}

void RulesSection::moveChosen(int by)
{
    const QModelIndex current = m_list->currentIndex();
    if (!current.isValid())
        return;
    const int to = current.row() + by;
    if (to < 0 || to >= m_model->rowCount())
        return;
    m_chosen = current.data(RulesListModel::IdRole).toString();
    m_rules.move(current.row(), to);
}

bool RulesSection::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_list && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->modifiers() == Qt::AltModifier && (key->key() == Qt::Key_Up || key->key() == Qt::Key_Down)) {
            moveChosen(key->key() == Qt::Key_Up ? -1 : 1);
            return true;
        }
        if (key->modifiers() == Qt::NoModifier && key->key() == Qt::Key_Delete) {
            removeChosen();
            return true;
        }
        if (key->modifiers() == Qt::NoModifier && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)) {
            edit();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}
