#include "details_pane.h"

#include "common/numbers.h"
#include "controller/plan_model.h"
#include "controller/plan_review.h"
#include "controller/preferences.h"
#include "controller/thumb_cache.h"
#include "name_editor.h"
#include "platform/file_opener.h"
#include "ui/rules/rule_editor.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/theme.h"

#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QScrollArea>
#include <QVBoxLayout>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize kPicture {260, 170};

QLabel* valueLabel(QWidget* parent, const QString& accessibleName)
{
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setAccessibleName(accessibleName);
    return label;
}

void setValue(QLabel* label, const QString& text)
{
    label->setText(text);
    // A screen reader reads the value, not the field's name alone.
    label->setAccessibleDescription(text);
}

bool isFolder(const PlanItem& item)
{
    return item.kind == FileKind::folder || item.kind == FileKind::bundle || item.kind == FileKind::project;
}

} // namespace

DetailsPane::DetailsPane(PlanReview& review, Preferences& preferences, ThumbCache& thumbs, QWidget* parent)
    : QWidget(parent)
    , m_review(review)
    , m_preferences(preferences)
    , m_thumbs(thumbs)
    , m_body(new QWidget(this))
    , m_empty(new QLabel(tr("Select a file to see where it goes and why."), this))
    , m_picture(new QLabel(m_body))
    , m_name(valueLabel(m_body, tr("Full name")))
    , m_folder(valueLabel(m_body, tr("Now in")))
    , m_destination(valueLabel(m_body, tr("Goes to")))
    , m_newName(new NameEditor(m_body))
    , m_folderName(valueLabel(m_body, tr("Folder name")))
    , m_reason(valueLabel(m_body, tr("Why")))
    , m_confidence(valueLabel(m_body, tr("Confidence")))
    , m_size(valueLabel(m_body, tr("Size")))
    , m_date(valueLabel(m_body, tr("Date")))
    , m_duplicate(valueLabel(m_body, tr("Kept copy")))
    , m_keepInstead(new SecondaryButton(tr("Keep this one instead"), m_body, 30))
    , m_moveTo(new SecondaryButton(tr("Move to\u2026"), m_body, 30))
    , m_always(new SecondaryButton(tr("Always do this\u2026"), m_body, 30))
{
    setObjectName(u"detailsPane"_s);
    setAccessibleName(tr("Details"));
    setFixedWidth(kWidth);
    m_empty->setWordWrap(true);
    m_empty->setAlignment(Qt::AlignCenter);
    m_picture->setFixedSize(kPicture);
    m_picture->setAlignment(Qt::AlignCenter);
    m_picture->setAccessibleName(tr("Picture"));
    m_picture->setStyleSheet(
        u"background: %1; border-radius: 8px; color: %2;"_s.arg(Theme::sand.name(), Theme::muted.name()));
    QFont bold = m_name->font();
    bold.setWeight(QFont::DemiBold);
    m_name->setFont(bold);
    m_keepInstead->setAccessibleName(m_keepInstead->text());
    m_moveTo->setAccessibleName(tr("Move to"));
    // Beside "Move to…" the short words say it; the whole phrase is its name and its tip.
    m_always->setAccessibleName(tr("Always do this for files like this"));
    m_always->setToolTip(RuleEditor::offerText());
    buildLayout();
    connectParts();
    refresh();
}

QWidget* DetailsPane::buildActions()
{
    auto* actions = new QWidget(m_body);
    auto* open = new SecondaryButton(tr("Open"), actions, 30);
    open->setAccessibleName(open->text());
    auto* show = new SecondaryButton(tr("Show in folder"), actions, 30);
    show->setAccessibleName(show->text());
    const auto path = [this] {
        const int row = m_review.rowOf(m_id);
        return row < 0 ? QString() : m_review.plan().at(row).src.toLocalFile();
    };
    connect(open, &QPushButton::clicked, this, [path] { FileOpener::open(path()); });
    connect(show, &QPushButton::clicked, this, [path] { FileOpener::showInFolder(path()); });
    auto* row = new QHBoxLayout(actions);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(open);
    row->addWidget(show);
    row->addStretch(1);
    return actions;
}

void DetailsPane::buildLayout()
{
    auto* form = new QFormLayout;
    m_form = form;
    form->setRowWrapPolicy(QFormLayout::WrapAllRows);
    form->setVerticalSpacing(4);
    form->addRow(tr("Now in"), m_folder);
    form->addRow(tr("Goes to"), m_destination);
    form->addRow(tr("New name"), m_newName);
    form->addRow(QString(), m_folderName);
    form->addRow(tr("Why"), m_reason);
    form->addRow(tr("Confidence"), m_confidence);
    form->addRow(tr("Size"), m_size);
    form->addRow(tr("Date"), m_date);
    // Captions set apart from what they caption, so the eye finds the values.
    for (int row = 0; row < form->rowCount(); ++row) {
        QLayoutItem* item = form->itemAt(row, QFormLayout::LabelRole);
        auto* caption = item ? qobject_cast<QLabel*>(item->widget()) : nullptr;
        if (!caption || caption->text().isEmpty())
            continue;
        QFont font = caption->font();
        font.setPixelSize(11);
        caption->setFont(font);
        caption->setForegroundRole(QPalette::PlaceholderText);
        caption->setContentsMargins(0, row == 0 ? 0 : 6, 0, 0);
    }
    auto* body = new QVBoxLayout(m_body);
    body->setContentsMargins(16, 16, 16, 16);
    body->setSpacing(10);
    body->addWidget(m_picture, 0, Qt::AlignHCenter);
    body->addWidget(m_name);
    body->addLayout(form);
    body->addWidget(m_duplicate);
    body->addWidget(m_keepInstead, 0, Qt::AlignLeft);
    auto* sending = new QHBoxLayout;
    sending->setSpacing(6);
    sending->addWidget(m_moveTo);
    sending->addWidget(m_always);
    sending->addStretch(1);
    body->addLayout(sending);
    body->addWidget(buildActions());
    body->addStretch(1);

    // A small screen still reaches every control.
    auto* scroll = new QScrollArea(this);
    m_scroll = scroll;
    scroll->setWidget(m_body);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_empty, 1);
    layout->addWidget(scroll, 1);
}

void DetailsPane::connectParts()
{
    connect(m_newName, &NameEditor::submitted, this, [this](const QString& stem) { m_review.setNewName(m_id, stem); });
    connect(m_keepInstead, &QPushButton::clicked, this, &DetailsPane::keepInstead);
    connect(m_moveTo, &QPushButton::clicked, this, [this] {
        Q_EMIT moveRequested({m_id}, m_moveTo->mapToGlobal(m_moveTo->rect().bottomLeft()));
    });
    connect(m_always, &QPushButton::clicked, this, [this] { Q_EMIT ruleRequested(m_id); });
    connect(&m_review, &PlanReview::planReset, this, &DetailsPane::refresh);
    connect(&m_review, &PlanReview::planItemsChanged, this, [this](const QList<int>& rows) {
        if (rows.contains(m_review.rowOf(m_id)))
            refresh();
    });
    connect(&m_thumbs, &ThumbCache::ready, this, [this](const QString& path, const QImage& image) {
        if (path == m_picturePath && !image.isNull())
            m_picture->setPixmap(QPixmap::fromImage(image.scaled(kPicture, Qt::KeepAspectRatio)));
    });
    connect(&m_dating, &QFutureWatcher<std::pair<qint64, QDateTime>>::finished, this, [this] {
        const auto [id, when] = m_dating.result();
        if (id == m_id)
            setValue(m_date, when.isValid() ? QLocale().toString(when, QLocale::ShortFormat) : tr("Unknown"));
    });
}

void DetailsPane::showItem(qint64 id)
{
    if (id == m_id)
        return;
    m_id = id;
    refresh();
}

qint64 DetailsPane::itemId() const
{
    return m_id;
}

NameEditor* DetailsPane::nameEditor() const
{
    return m_newName;
}

QString DetailsPane::goesTo(const PlanItem& item) const
{
    if (!item.approved)
        return tr("Stays where it is");
    const QString base = QDir::home().relativeFilePath(m_preferences.profile().homeBase);
    const QString under = base.startsWith(u"..") ? m_preferences.profile().homeBase : base;
    return under.isEmpty() || under == u"." ? item.destFolder : under + u'/' + item.destFolder;
}

void DetailsPane::refresh()
{
    const int row = m_review.rowOf(m_id);
    m_empty->setVisible(row < 0);
    m_scroll->setVisible(row >= 0);
    if (row < 0)
        return;
    const PlanItem& item = m_review.plan().at(row);
    const QString name = item.src.fileName();
    setValue(m_name, name);
    m_name->setToolTip(name);
    const QString folder = QDir::home().relativeFilePath(QFileInfo(item.src.toLocalFile()).path());
    setValue(m_folder, folder.startsWith(u"..") ? QFileInfo(item.src.toLocalFile()).path() : folder);
    setValue(m_destination, goesTo(item));
    const bool folderItem = isFolder(item);
    m_form->setRowVisible(m_newName, !folderItem);
    m_form->setRowVisible(m_folderName, folderItem);
    setValue(m_folderName, tr("Folders keep their names."));
    if (!folderItem) {
        const QString shown = item.newName && item.renameApproved ? *item.newName : name;
        m_newName->setName(shown, QFileInfo(name).suffix());
    }
    // A duplicate's kept copy has a line of its own below.
    setValue(m_reason, item.category == Category::duplicate ? item.reason : PlanModel::reasonOf(item));
    setValue(m_confidence, item.confidence.text());
    setValue(m_size, Numbers::size(item.size));
    setValue(m_date, tr("Looking\u2026"));
    showDuplicate(item);
    showPicture(item);
    const QString path = item.src.toLocalFile();
    m_dating.setFuture(QtConcurrent::run([id = m_id, path] { return std::pair {id, QFileInfo(path).lastModified()}; }));
}

void DetailsPane::showDuplicate(const PlanItem& item)
{
    const bool duplicate = item.category == Category::duplicate && item.keptCopy;
    m_duplicate->setVisible(duplicate);
    m_keepInstead->setVisible(duplicate && item.approved);
    if (duplicate)
        setValue(m_duplicate, PlanModel::reasonOf(item));
}

void DetailsPane::showPicture(const PlanItem& item)
{
    m_picturePath = item.src.toLocalFile();
    const std::optional<QImage> image = m_thumbs.cached(m_picturePath);
    if (image && !image->isNull()) {
        m_picture->setPixmap(QPixmap::fromImage(image->scaled(kPicture, Qt::KeepAspectRatio)));
        return;
    }
    m_picture->setPixmap(QPixmap());
    const QString suffix = QFileInfo(item.src.fileName()).suffix().toUpper();
    m_picture->setText(isFolder(item) ? tr("Folder") : suffix.isEmpty() ? tr("File") : suffix);
    if (!image && !isFolder(item))
        m_thumbs.request(m_picturePath);
}

void DetailsPane::keepInstead()
{
    if (!m_review.keepInstead(m_id))
        setValue(m_duplicate, tr("The other copy is outside the folders Brindlow tidies, so it stays too."));
}
