#include "item_preview.h"

#include "common/numbers.h"
#include "controller/plan_model.h"
#include "model/file_kind.h"
#include "platform/download_origin.h"
#include "platform/file_opener.h"
#include "platform/thumbnailer.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/theme.h"

#include <QFile>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeDatabase>
#include <QPlainTextEdit>
#include <QStringDecoder>
#include <QVBoxLayout>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace {

QLabel* valueLabel(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setTextFormat(Qt::PlainText);
    return label;
}

// The start of a file that is text, decoded as UTF-8; nothing for anything else.
std::optional<QString> textStart(const QString& path, qint64 bytes)
{
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    if (!type.inherits(u"text/plain"_s))
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QStringDecoder decode(QStringDecoder::Utf8);
    QString text = decode(file.read(bytes));
    if (decode.hasError())
        return std::nullopt;
    return text;
}

} // namespace

ItemPreview::ItemPreview(const QModelIndex& index, QWidget* parent)
    : QDialog(parent)
    , m_picture(new QLabel(this))
    , m_text(new QPlainTextEdit(this))
    , m_origin(valueLabel(tr("Looking\u2026"), this))
{
    const QString name = index.data(PlanModel::NameRole).toString();
    const QString path = index.data(PlanModel::PathRole).toString();
    setWindowTitle(name);
    setAccessibleName(tr("Preview of %1").arg(name));
    setAttribute(Qt::WA_DeleteOnClose);

    m_picture->setAlignment(Qt::AlignCenter);
    m_picture->setMinimumSize(kPictureBox);
    m_picture->setAccessibleName(tr("Picture"));
    m_picture->setText(tr("Loading picture\u2026"));
    m_picture->setStyleSheet(
        u"background: %1; border-radius: 10px; color: %2;"_s.arg(Theme::sand.name(), Theme::muted.name()));

    auto* title = valueLabel(name, this);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.3);
    big.setWeight(QFont::DemiBold);
    title->setFont(big);
    title->setAccessibleName(tr("Name"));

    m_text->setReadOnly(true);
    m_text->setAccessibleName(tr("Text"));
    m_text->setMinimumSize(kPictureBox);
    m_text->hide();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->setSpacing(14);
    layout->addWidget(m_picture);
    layout->addWidget(m_text);
    layout->addWidget(title);
    layout->addLayout(buildDetails(index));
    layout->addLayout(buildActions(path, FileKind(index.data(PlanModel::KindRole).toInt())));

    connect(&m_loading, &QFutureWatcher<Loaded>::finished, this, [this] {
        const Loaded loaded = m_loading.result();
        if (loaded.text && loaded.picture.isNull()) {
            m_picture->hide();
            m_text->setPlainText(*loaded.text);
            m_text->show();
        } else if (loaded.picture.isNull())
            m_picture->setText(tr("No picture for this file"));
        else
            m_picture->setPixmap(QPixmap::fromImage(loaded.picture));
        m_origin->setText(loaded.origin.value_or(tr("Not recorded")));
    });
    m_loading.setFuture(QtConcurrent::run([path] {
        QImage picture = Thumbnailer::thumbnail(path, kPictureBox);
        if (picture.width() > kPictureBox.width() || picture.height() > kPictureBox.height())
            picture = picture.scaled(kPictureBox, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        std::optional<QString> text = picture.isNull() ? textStart(path, kTextBytes) : std::nullopt;
        return Loaded {picture, std::move(text), DownloadOrigin::read(path)};
    }));
}

QLayout* ItemPreview::buildActions(const QString& path, FileKind kind)
{
    auto* actions = new QHBoxLayout;
    actions->setSpacing(8);
    if (kind == FileKind::audio || kind == FileKind::video) {
        auto* play = new SecondaryButton(tr("Play"), this, 32);
        play->setAccessibleName(tr("Play"));
        connect(play, &QPushButton::clicked, this, [path] { FileOpener::open(path); });
        actions->addWidget(play);
    }
    auto* open = new SecondaryButton(tr("Open"), this, 32);
    open->setAccessibleName(tr("Open"));
    connect(open, &QPushButton::clicked, this, [path] { FileOpener::open(path); });
    auto* show = new SecondaryButton(tr("Show in folder"), this, 32);
    show->setAccessibleName(tr("Show in folder"));
    connect(show, &QPushButton::clicked, this, [path] { FileOpener::showInFolder(path); });
    actions->addWidget(open);
    actions->addWidget(show);
    actions->addStretch(1);
    auto* keys = new QLabel(tr("Esc: close"), this);
    QPalette quiet = keys->palette();
    quiet.setColor(QPalette::WindowText, Theme::muted);
    keys->setPalette(quiet);
    actions->addWidget(keys);
    return actions;
}

QLayout* ItemPreview::buildDetails(const QModelIndex& index)
{
    const QString newName = index.data(PlanModel::NewNameRole).toString();
    auto* details = new QFormLayout;
    details->setLabelAlignment(Qt::AlignRight);
    details->addRow(tr("Goes to"), valueLabel(index.data(PlanModel::DestinationRole).toString(), this));
    if (!newName.isEmpty())
        details->addRow(tr("New name"), valueLabel(newName, this));
    details->addRow(tr("Why"), valueLabel(index.data(PlanModel::ReasonRole).toString(), this));
    details->addRow(tr("Size"), valueLabel(Numbers::size(index.data(PlanModel::SizeRole).toLongLong()), this));
    details->addRow(tr("Now in"), valueLabel(index.data(PlanModel::FolderRole).toString(), this));
    details->addRow(tr("Downloaded from"), m_origin);

    return details;
}
