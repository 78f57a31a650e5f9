#include "review_window.h"

#include "common/numbers.h"
#include "controller/moves.h"
#include "controller/own_rules.h"
#include "controller/plan_model.h"
#include "controller/plan_review.h"
#include "controller/preferences.h"
#include "controller/thumb_cache.h"
#include "destination_choices.h"
#include "details_pane.h"
#include "item_preview.h"
#include "junk_page.h"
#include "move_to_menu.h"
#include "needs_page.h"
#include "organize_page.h"
#include "plan_list_view.h"
#include "platform/file_opener.h"
#include "rename_page.h"
#include "review_filter_model.h"
#include "review_footer.h"
#include "review_sidebar.h"
#include "ui/rules/rule_editor.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSettings>
#include <QShortcut>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace {

QWidget* emptyState(QWidget* parent)
{
    auto* page = new QWidget(parent);
    auto* title = new QLabel(ReviewWindow::tr("Nothing waiting"), page);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    big.setWeight(QFont::DemiBold);
    title->setFont(big);
    auto* hint = new QLabel(ReviewWindow::tr("Start a refresh from the menu bar."), page);
    QPalette quiet = hint->palette();
    quiet.setColor(QPalette::WindowText, Theme::muted);
    hint->setPalette(quiet);
    auto* layout = new QVBoxLayout(page);
    layout->addStretch(1);
    layout->addWidget(title, 0, Qt::AlignHCenter);
    layout->addWidget(hint, 0, Qt::AlignHCenter);
    layout->addStretch(1);
    return page;
}

} // namespace

ReviewWindow::ReviewWindow(const ControllerParts& parts, ThumbCache* thumbs, QWidget* parent)
    : QWidget(parent)
    , m_parts(parts)
    , m_ownThumbs(thumbs ? nullptr : std::make_unique<ThumbCache>())
    , m_thumbs(thumbs ? thumbs : m_ownThumbs.get())
    , m_plan(new PlanModel(&parts.review, this))
    , m_whole(new QStackedWidget(this))
    , m_choices(new DestinationChoices(parts.preferences, this))
{
    setWindowTitle(tr("Your fresh start"));
    setAccessibleName(windowTitle());
    resize(kDefaultSize);
    setObjectName(u"reviewWindow"_s);
    setStyleSheet(uR"(
#reviewWindow { background: %1; }
#reviewSidebar { background: %2; border-right: 1px solid %3; }
#reviewFooter { background: %4; border-top: 1px solid %3; }
QTabBar::tab { padding: 7px 14px; margin-right: 4px; border: none; border-radius: 8px; color: %5; background: transparent; }
QTabBar::tab:selected { background: %2; color: %6; }
QTabBar::tab:hover:!selected { background: %7; }
QListView { background: transparent; }
QLineEdit { background: %4; border: 1px solid %3; border-radius: 8px; padding: 5px 8px; }
QLineEdit:focus { border: 1px solid %8; }
)"_s.arg(Theme::ivory.name(),
         Theme::sand.name(),
         Theme::hairline.name(),
         Theme::surface.name(),
         Theme::muted.name(),
         Theme::charcoal.name(),
         Theme::sand.lighter(103).name(),
         Theme::amber.name()));

    m_empty = emptyState(m_whole);
    m_content = buildContent();
    m_whole->addWidget(m_empty);
    m_whole->addWidget(m_content);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_whole);

    restoreDetailsShown();
    connect(m_plan, &PlanModel::countsChanged, this, &ReviewWindow::updateTabTitles);
    connect(m_plan, &QAbstractItemModel::modelReset, this, &ReviewWindow::updateEmptyState);
    updateTabTitles();
    updateEmptyState();
}

ReviewWindow::~ReviewWindow()
{
    // The pages go first: their lists report a last change of item as they go, to handlers that
    // use this window's members.
    delete m_whole;
}

QWidget* ReviewWindow::buildContent()
{
    auto* content = new QWidget(m_whole);
    buildNavigation(content);
    buildPages(content);

    auto* top = new QHBoxLayout;
    top->addWidget(m_tabs);
    top->addStretch(1);
    top->addWidget(m_filter);
    auto* main = new QVBoxLayout;
    main->setContentsMargins(28, 18, 20, 0);
    main->setSpacing(18);
    main->addLayout(top);
    main->addWidget(m_pages, 1);
    auto* body = new QHBoxLayout;
    body->setContentsMargins(0, 0, 0, 0);
    body->setSpacing(0);
    body->addWidget(m_sidebar);
    body->addLayout(main, 1);
    m_details = new DetailsPane(m_parts.review, m_parts.preferences, *m_thumbs, content);
    m_details->setAttribute(Qt::WA_StyledBackground);
    body->addWidget(m_details);

    auto* footer = new ReviewFooter(m_parts.moves, m_parts.activity, *m_plan, content);
    footer->setObjectName(u"reviewFooter"_s);
    footer->setAttribute(Qt::WA_StyledBackground);
    m_detailsToggle = new SecondaryButton(tr("Details"), content, 38);
    m_detailsToggle->setAccessibleName(tr("Show details"));
    m_detailsToggle->setCheckable(true);
    m_detailsToggle->setChecked(true);
    m_detailsToggle->setToolTip(tr("Ctrl+I"));
    footer->addTool(m_detailsToggle);
    m_unsaved = new QLabel(content);
    m_unsaved->setObjectName(u"reviewUnsaved"_s);
    m_unsaved->setTextFormat(Qt::PlainText);
    m_unsaved->setContentsMargins(24, 0, 24, 10);
    m_unsaved->setAccessibleName(tr("Not saved"));
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(body, 1);
    layout->addWidget(footer);
    layout->addWidget(m_unsaved);
    connect(&m_parts.review, &PlanReview::saveProblemChanged, this, &ReviewWindow::updateUnsaved);
    updateUnsaved();

    connectPages(footer);
    addShortcuts();
    return content;
}

void ReviewWindow::buildNavigation(QWidget* content)
{
    m_sidebar = new ReviewSidebar(*m_plan, content);
    m_sidebar->setObjectName(u"reviewSidebar"_s);
    m_sidebar->setAttribute(Qt::WA_StyledBackground);
    m_sidebar->setFixedWidth(220);

    m_tabs = new QTabBar(content);
    m_tabs->setObjectName(u"reviewTabs"_s);
    m_tabs->setAccessibleName(tr("Review tabs"));
    m_tabs->setDrawBase(false);
    m_tabs->setExpanding(false);
    // Every tab stays whole: scroll arrows would hide the first one behind "ganize".
    m_tabs->setUsesScrollButtons(false);
    m_tabs->setElideMode(Qt::ElideNone);
    m_tabs->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    for (int i = 0; i < 4; ++i)
        m_tabs->addTab(QString());

    m_filter = new QLineEdit(content);
    m_filter->setPlaceholderText(tr("Filter by name"));
    m_filter->setAccessibleName(tr("Filter by name"));
    m_filter->setClearButtonEnabled(true);
    m_filter->setMinimumWidth(150);
    m_filter->setMaximumWidth(260);
}

void ReviewWindow::buildPages(QWidget* content)
{
    m_organize = new OrganizePage(m_parts.review, *m_plan, *m_thumbs, content);
    m_rename = new RenamePage(m_parts.review, *m_plan, *m_thumbs, content);
    m_junk = new JunkPage(m_parts.review, *m_plan, content);
    m_needs = new NeedsPage(m_parts.review, m_parts.preferences, *m_plan, *m_choices, content);
    m_pages = new QStackedWidget(content);
    for (QWidget* page : std::initializer_list<QWidget*> {m_organize, m_rename, m_junk, m_needs})
        m_pages->addWidget(page);
}

void ReviewWindow::connectPages(ReviewFooter* footer)
{
    connect(m_tabs, &QTabBar::currentChanged, this, &ReviewWindow::tabChanged);
    connect(m_sidebar, &ReviewSidebar::groupChosen, this, [this](const std::optional<QString>& group) {
        m_organize->setGroup(group);
        m_tabs->setCurrentIndex(0);
    });
    // A group emptied by an edit on another tab changes the grid, never the tab in front.
    connect(m_sidebar, &ReviewSidebar::groupDropped, this, [this] { m_organize->setGroup(std::nullopt); });
    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_sidebar->setNameFilter(text);
        m_organize->setNameFilter(text);
        m_rename->setNameFilter(text);
        m_junk->setNameFilter(text);
        m_needs->setNameFilter(text);
    });
    connect(footer, &ReviewFooter::finished, this, &QWidget::close);
    connect(m_organize, &OrganizePage::openRequested, this, &ReviewWindow::openPreview);
    connect(m_rename, &RenamePage::openRequested, this, &ReviewWindow::openPreview);
    connect(m_junk, &JunkPage::openRequested, this, &ReviewWindow::openPreview);
    for (PlanListView* list : {m_organize->grid(), m_rename->list()}) {
        connect(list, &PlanListView::moveRequested, this, &ReviewWindow::moveItems);
        connect(list, &PlanListView::contextMenuAt, this, &ReviewWindow::showContextMenu);
    }
    connect(m_junk, &JunkPage::moveRequested, this, &ReviewWindow::moveItems);
    connect(m_junk, &JunkPage::contextMenuAt, this, &ReviewWindow::showContextMenu);
    connect(m_needs, &NeedsPage::ruleRequested, this, &ReviewWindow::openRuleEditor);
    connectDetails();
}

void ReviewWindow::connectDetails()
{
    const auto follow = [this](int tab, qint64 id) {
        m_currentOf.insert(tab, id);
        if (m_tabs->currentIndex() == tab)
            m_details->showItem(id);
    };
    const PlanListView* lists[] = {m_organize->grid(), m_rename->list(), nullptr, m_needs->list()};
    for (int tab = 0; tab < 4; ++tab) {
        if (!lists[tab])
            continue;
        connect(lists[tab]->selectionModel(),
                &QItemSelectionModel::currentChanged,
                this,
                [follow, tab](const QModelIndex& index) {
                    if (index.isValid())
                        follow(tab, index.data(PlanModel::IdRole).toLongLong());
                });
    }
    connect(m_junk, &JunkPage::currentItemChanged, this, [follow](qint64 id) { follow(2, id); });
    connect(m_details, &DetailsPane::moveRequested, this, &ReviewWindow::moveItems);
    connect(m_details, &DetailsPane::ruleRequested, this, &ReviewWindow::openRuleEditor);
    connect(m_detailsToggle, &QPushButton::toggled, this, &ReviewWindow::setDetailsShown);
}

void ReviewWindow::addShortcuts()
{
    auto* find = new QShortcut(QKeySequence::Find, this);
    connect(find, &QShortcut::activated, this, [this] {
        m_filter->setFocus(Qt::ShortcutFocusReason);
        m_filter->selectAll();
    });
    auto* next = new QShortcut(QKeySequence::NextChild, this);
    connect(next, &QShortcut::activated, this, [this] { showTab((m_tabs->currentIndex() + 1) % m_tabs->count()); });
    auto* details = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_I), this);
    connect(details, &QShortcut::activated, this, [this] { setDetailsShown(m_details->isHidden()); });
    auto* previous = new QShortcut(QKeySequence::PreviousChild, this);
    connect(previous, &QShortcut::activated, this, [this] {
        showTab((m_tabs->currentIndex() + m_tabs->count() - 1) % m_tabs->count());
    });
}

QTabBar* ReviewWindow::tabs() const
{
    return m_tabs;
}

OrganizePage* ReviewWindow::organizePage() const
{
    return m_organize;
}

RenamePage* ReviewWindow::renamePage() const
{
    return m_rename;
}

JunkPage* ReviewWindow::junkPage() const
{
    return m_junk;
}

NeedsPage* ReviewWindow::needsPage() const
{
    return m_needs;
}

ReviewSidebar* ReviewWindow::sidebar() const
{
    return m_sidebar;
}

QLineEdit* ReviewWindow::filterField() const
{
    return m_filter;
}

DetailsPane* ReviewWindow::details() const
{
    return m_details;
}

DestinationChoices* ReviewWindow::choices() const
{
    return m_choices;
}

void ReviewWindow::showTab(int tab)
{
    m_tabs->setCurrentIndex(tab);
}

void ReviewWindow::tabChanged(int tab)
{
    m_pages->setCurrentIndex(tab);
    m_sidebar->setActive(tab == 0);
    m_details->showItem(m_currentOf.value(tab, -1));
}

namespace {

QString detailsKey()
{
    return u"review/detailsShown"_s;
}

} // namespace

void ReviewWindow::setDetailsShown(bool shown)
{
    m_details->setVisible(shown);
    if (m_detailsToggle->isChecked() != shown) {
        const QSignalBlocker quiet(m_detailsToggle);
        m_detailsToggle->setChecked(shown);
    }
    // The settings file is written away from the window's thread.
    (void)QtConcurrent::run([shown] {
        QSettings settings(u"Brindlow"_s, u"Brindlow"_s);
        settings.setValue(detailsKey(), shown);
        settings.sync();
    });
}

void ReviewWindow::restoreDetailsShown()
{
    auto* reading = new QFutureWatcher<bool>(this);
    connect(reading, &QFutureWatcher<bool>::finished, this, [this, reading] {
        const bool shown = reading->result();
        m_details->setVisible(shown);
        const QSignalBlocker quiet(m_detailsToggle);
        m_detailsToggle->setChecked(shown);
        reading->deleteLater();
    });
    reading->setFuture(
        QtConcurrent::run([] { return QSettings(u"Brindlow"_s, u"Brindlow"_s).value(detailsKey(), true).toBool(); }));
}

void ReviewWindow::moveItems(const QList<qint64>& ids, const QPoint& globalPos)
{
    if (ids.isEmpty())
        return;
    if (m_tabs->currentIndex() == 3) {
        m_needs->moveItems(ids, globalPos);
        return;
    }
    const MoveToMenu::Pick pick
        = MoveToMenu::ask(*m_choices, m_choices->movedByPlan(m_parts.review.plan()), this, globalPos);
    if (pick.made)
        m_parts.review.setDestination(ids, pick.folder);
}

void ReviewWindow::showContextMenu(const QModelIndex& index, const QList<qint64>& ids, const QPoint& globalPos)
{
    const QString path = index.data(PlanModel::PathRole).toString();
    QMenu menu(this);
    menu.setAccessibleName(tr("Item actions"));
    auto* move = new MoveToMenu(*m_choices, m_choices->movedByPlan(m_parts.review.plan()), &menu);
    menu.addMenu(move);
    const qint64 id = index.data(PlanModel::IdRole).toLongLong();
    bool wantsRule = false;
    connect(menu.addAction(RuleEditor::offerText()), &QAction::triggered, this, [&wantsRule] { wantsRule = true; });
    menu.addSeparator();
    const QPersistentModelIndex kept(index);
    connect(menu.addAction(tr("Preview")), &QAction::triggered, this, [this, kept] {
        if (kept.isValid())
            openPreview(kept);
    });
    connect(menu.addAction(tr("Open")), &QAction::triggered, this, [path] { FileOpener::open(path); });
    connect(
        menu.addAction(tr("Show in folder")), &QAction::triggered, this, [path] { FileOpener::showInFolder(path); });
    menu.exec(globalPos);
    // The editor opens once the menu is gone, so the menu never sits under it.
    if (wantsRule) {
        openRuleEditor(id);
        return;
    }
    const MoveToMenu::Pick pick = move->resolve();
    if (pick.made)
        m_parts.review.setDestination(ids, pick.folder);
}

void ReviewWindow::openRuleEditor(qint64 id)
{
    if (m_ruleEditor) {
        m_ruleEditor->raise();
        m_ruleEditor->activateWindow();
        return;
    }
    const std::optional<UserRule> like = m_parts.rules.ruleLike(id);
    if (!like)
        return;
    // Saving is all it takes: the rule applies to the open plan, and the lists follow the plan.
    m_ruleEditor = new RuleEditor(m_parts.rules, m_parts.preferences, *m_choices, *like, RuleEditor::Mode::add, this);
    m_ruleEditor->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_ruleEditor, &QDialog::finished, this, [this] { m_ruleEditor = nullptr; });
    m_ruleEditor->open();
}

RuleEditor* ReviewWindow::ruleEditor() const
{
    return m_ruleEditor;
}

void ReviewWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_choices->refresh();
}

void ReviewWindow::updateTabTitles()
{
    const QString names[] = {tr("Organize"), tr("Rename"), tr("Junk"), tr("Needs You")};
    const PlanTab tabs[] = {PlanTab::organize, PlanTab::rename, PlanTab::junk, PlanTab::needs};
    for (int i = 0; i < 4; ++i) {
        const QString title = names[i] + u' ' + Numbers::count(m_plan->tabCount(tabs[i]));
        if (m_tabs->tabText(i) != title) {
            m_tabs->setTabText(i, title);
            m_tabs->setAccessibleTabName(i, title);
        }
    }
}

void ReviewWindow::updateUnsaved()
{
    const std::optional<QString> problem = m_parts.review.saveProblem();
    m_unsaved->setText(problem.value_or(QString()));
    m_unsaved->setVisible(problem.has_value());
}

void ReviewWindow::closeEvent(QCloseEvent* event)
{
    // The last edits, and any that could not be written before, go now, not in a moment.
    m_parts.review.saveNow();
    QWidget::closeEvent(event);
}

void ReviewWindow::updateEmptyState()
{
    m_whole->setCurrentWidget(m_plan->rowCount() == 0 ? m_empty : m_content);
}

void ReviewWindow::openPreview(const QModelIndex& index)
{
    auto* preview = new ItemPreview(index, this);
    preview->open();
}
