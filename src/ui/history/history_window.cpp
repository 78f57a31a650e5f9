#include "history_window.h"

#include "controller/history.h"
#include "history_files_model.h"
#include "platform/file_opener.h"
#include "ui/settings/texts.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/secondary_button.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTreeView>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

enum AppliesColumn { when, moved, renamed, setAside, state };

// The same apply after a new read, though its log may have gained a prefix since.
QString keyOf(const PastApply& apply)
{
    return MoveHistory::firstName(apply.path);
}

} // namespace

HistoryWindow::HistoryWindow(History& history, QWidget* parent)
    : QWidget(parent)
    , m_history(history)
    , m_openFile([](const QString& path) { FileOpener::open(path); })
    , m_openFolder([](const QString& path) { FileOpener::showInFolder(path); })
{
    setWindowTitle(tr("Move history"));
    setAccessibleName(tr("Move history"));
    m_message = Texts::label(tr("Reading the move logs\u2026"), Texts::Style::detail, this);
    m_message->setTextFormat(Qt::PlainText);
    m_message->setAccessibleName(tr("History message"));

    // The applies above, their files below at the full width: where a file went is a long path.
    auto* columns = new QVBoxLayout;
    columns->setSpacing(16);
    columns->addWidget(buildApplies(), 2);
    columns->addWidget(buildFiles(), 3);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 24, 20);
    layout->setSpacing(12);
    layout->addWidget(Texts::label(tr("Move history"), Texts::Style::heading, this));
    layout->addLayout(columns, 1);
    layout->addWidget(m_message);
    // Rows with room around their text, as in the review window's lists.
    setStyleSheet(u"QTreeView::item { padding: 5px 4px; }"_s);
    resize(1240, 620);

    connect(&m_history, &History::changed, this, &HistoryWindow::showApplies);
    connect(&m_history, &History::finished, this, [this](const QString& message) {
        m_asked = false;
        say(message);
        updateButtons();
    });
    if (m_history.isLoaded())
        showApplies();
    updateButtons();
}

void HistoryWindow::setOpeners(Opener open, Opener showFolder)
{
    m_openFile = std::move(open);
    m_openFolder = std::move(showFolder);
}

QTreeWidget* HistoryWindow::appliesView() const
{
    return m_applies;
}

QTreeView* HistoryWindow::filesView() const
{
    return m_files;
}

void HistoryWindow::showEvent(QShowEvent* event)
{
    // The logs may have changed since the window last looked, in this program or another.
    m_history.reload();
    QWidget::showEvent(event);
}

QWidget* HistoryWindow::buildApplies()
{
    auto* box = new QWidget(this);
    m_applies = new QTreeWidget(box);
    m_applies->setAccessibleName(tr("Applies"));
    m_applies->setHeaderLabels({tr("When"), tr("Moved"), tr("Renamed"), tr("Set aside"), tr("State")});
    m_applies->setRootIsDecorated(false);
    m_applies->setUniformRowHeights(true);
    m_applies->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_applies->header()->setStretchLastSection(true);
    m_applies->header()->resizeSection(when, 190);
    for (const int count : {moved, renamed, setAside})
        m_applies->header()->resizeSection(count, 90);
    m_applies->setMinimumHeight(130);
    connect(m_applies, &QTreeWidget::currentItemChanged, this, [this] {
        if (QTreeWidgetItem* item = m_applies->currentItem())
            m_selected = item->data(0, Qt::UserRole).toString();
        const int apply = currentApply();
        if (apply >= 0 && m_history.applies().at(apply).state == PastApply::State::damaged)
            say(tr("The move log \u201C%1\u201D could not be read. It is kept as it is.")
                    .arg(QFileInfo(m_history.applies().at(apply).path).fileName()));
        if (m_search->text().trimmed().isEmpty())
            showFiles();
        updateButtons();
    });
    m_undo = new SecondaryButton(tr("Undo this apply"), box, 32);
    m_undo->setAccessibleName(m_undo->text());
    connect(m_undo, &QPushButton::clicked, this, &HistoryWindow::undoApply);

    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_applies, 1);
    layout->addWidget(m_undo, 0, Qt::AlignLeft);
    return box;
}

QWidget* HistoryWindow::buildFiles()
{
    auto* box = new QWidget(this);
    m_search = new QLineEdit(box);
    m_search->setPlaceholderText(tr("Find a file in every apply, by name or folder"));
    m_search->setAccessibleName(tr("Search the history"));
    m_search->setClearButtonEnabled(true);
    Texts::styleField(m_search);
    connect(m_search, &QLineEdit::textChanged, this, &HistoryWindow::showFiles);

    m_model = new HistoryFilesModel(box);
    m_files = new QTreeView(box);
    m_files->setAccessibleName(tr("Files"));
    m_files->setModel(m_model);
    m_files->setRootIsDecorated(false);
    m_files->setUniformRowHeights(true);
    m_files->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_files->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_files->setTextElideMode(Qt::ElideMiddle);
    // Where a file went is what a person comes here to read: that column takes the spare width.
    m_files->header()->setStretchLastSection(false);
    m_files->header()->setSectionResizeMode(HistoryFilesModel::to, QHeaderView::Stretch);
    m_files->header()->resizeSection(HistoryFilesModel::name, 240);
    m_files->header()->resizeSection(HistoryFilesModel::apply, 170);
    m_files->header()->resizeSection(HistoryFilesModel::state, 170);
    m_files->header()->resizeSection(HistoryFilesModel::from, 120);
    m_files->header()->resizeSection(HistoryFilesModel::renamedFrom, 180);
    connect(m_files->selectionModel(), &QItemSelectionModel::selectionChanged, this, &HistoryWindow::updateButtons);

    m_putBack = new PrimaryButton(tr("Put back"), box, 32);
    m_showFolder = new SecondaryButton(tr("Show in folder"), box, 32);
    m_open = new SecondaryButton(tr("Open"), box, 32);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    for (QPushButton* button : {m_putBack, m_showFolder, m_open}) {
        button->setAccessibleName(button->text());
        buttons->addWidget(button);
    }
    buttons->addStretch(1);
    connect(m_putBack, &QPushButton::clicked, this, &HistoryWindow::putBack);
    connect(m_showFolder, &QPushButton::clicked, this, [this] { openCurrent(m_openFolder); });
    connect(m_open, &QPushButton::clicked, this, [this] { openCurrent(m_openFile); });

    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_search);
    layout->addWidget(m_files, 1);
    layout->addLayout(buttons);
    return box;
}

void HistoryWindow::showApplies()
{
    // The rows shown point into the applies just replaced.
    m_model->show(&m_history.applies(), {}, m_model->isSearching());
    const QSignalBlocker blocker(m_applies);
    m_applies->clear();
    QTreeWidgetItem* selected = nullptr;
    for (const PastApply& apply : m_history.applies()) {
        const bool damaged = apply.state == PastApply::State::damaged;
        auto* item = new QTreeWidgetItem(m_applies);
        item->setText(when, HistoryFilesModel::whenText(apply));
        if (!damaged) {
            item->setText(moved, QString::number(apply.moved));
            item->setText(renamed, QString::number(apply.renamed));
            item->setText(setAside, QString::number(apply.setAside));
        }
        item->setText(state, History::stateText(apply));
        item->setToolTip(state, damaged ? QFileInfo(apply.path).fileName() : History::countsText(apply));
        item->setData(0, Qt::UserRole, keyOf(apply));
        if (keyOf(apply) == m_selected)
            selected = item;
    }
    m_applies->setCurrentItem(selected ? selected : m_applies->topLevelItem(0));
    if (QTreeWidgetItem* item = m_applies->currentItem())
        m_selected = item->data(0, Qt::UserRole).toString();
    if (m_history.applies().isEmpty())
        say(tr("Nothing has been applied yet."));
    else if (m_message->text() == tr("Reading the move logs\u2026"))
        say(QString());
    showFiles();
}

void HistoryWindow::showFiles()
{
    const QString text = m_search->text().trimmed();
    if (!text.isEmpty()) {
        m_model->show(&m_history.applies(), m_history.search(text), true);
    } else {
        QList<HistoryHit> rows;
        const int apply = currentApply();
        if (apply >= 0) {
            for (int record = 0; record < m_history.applies().at(apply).records.size(); ++record)
                rows.append({apply, record});
        }
        m_model->show(&m_history.applies(), rows, false);
    }
    m_files->setColumnHidden(HistoryFilesModel::apply, !m_model->isSearching());
    updateButtons();
}

int HistoryWindow::currentApply() const
{
    return m_applies->currentItem() ? m_applies->indexOfTopLevelItem(m_applies->currentItem()) : -1;
}

QList<int> HistoryWindow::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex& index : m_files->selectionModel()->selectedRows())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

void HistoryWindow::updateButtons()
{
    const QList<int> rows = selectedRows();
    bool oneApply = !rows.isEmpty();
    bool anyFiled = false;
    for (const int row : rows) {
        oneApply &= m_model->hit(row).apply == m_model->hit(rows.first()).apply;
        anyFiled |= m_model->record(row).isFiled();
    }
    const bool canPutBack
        = oneApply && anyFiled && m_history.applies().at(m_model->hit(rows.first()).apply).canPutBack();
    m_putBack->setEnabled(!m_asked && canPutBack);
    m_undo->setEnabled(!m_asked && m_history.isUndoable(currentApply()));
    m_showFolder->setEnabled(rows.size() == 1);
    m_open->setEnabled(rows.size() == 1);
}

void HistoryWindow::undoApply()
{
    const std::optional<QString> refused = m_history.undo(currentApply());
    m_asked = !refused;
    say(refused.value_or(tr("Putting files back\u2026")));
    updateButtons();
}

void HistoryWindow::putBack()
{
    const QList<int> rows = selectedRows();
    if (rows.isEmpty())
        return;
    QList<int> records;
    for (const int row : rows) {
        if (m_model->record(row).isFiled())
            records.append(m_model->hit(row).record);
    }
    const std::optional<QString> refused = m_history.putBack(m_model->hit(rows.first()).apply, records);
    m_asked = !refused;
    say(refused.value_or(tr("Putting files back\u2026")));
    updateButtons();
}

void HistoryWindow::openCurrent(const Opener& opener)
{
    const QList<int> rows = selectedRows();
    if (rows.size() == 1)
        opener(HistoryFilesModel::currentPath(m_model->record(rows.first())));
}

void HistoryWindow::say(const QString& text)
{
    m_message->setText(text);
    // A screen reader finds the line by its name and reads what it says from here.
    m_message->setAccessibleDescription(text);
}
