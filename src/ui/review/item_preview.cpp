#include "item_preview.h"

#include "common/numbers.h"
#include "controller/plan_model.h"
#include "platform/download_origin.h"
#include "platform/thumbnailer.h"
#include "ui/theme/theme.h"

#include <QFormLayout>
#include <QLabel>
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

} // namespace

ItemPreview::ItemPreview(const QModelIndex& index, QWidget* parent)
    : QDialog(parent)
    , m_picture(new QLabel(this))
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

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->setSpacing(14);
    layout->addWidget(m_picture);
    layout->addWidget(title);
    layout->addLayout(details);

    connect(&m_loading, &QFutureWatcher<Loaded>::finished, this, [this] {
        const Loaded loaded = m_loading.result();
        if (loaded.picture.isNull())
            m_picture->setText(tr("No picture for this file"));
        else
            m_picture->setPixmap(QPixmap::fromImage(loaded.picture));
        m_origin->setText(loaded.origin.value_or(tr("Not recorded")));
    });
    m_loading.setFuture(QtConcurrent::run([path] {
        QImage picture = Thumbnailer::thumbnail(path, kPictureBox);
        if (picture.width() > kPictureBox.width() || picture.height() > kPictureBox.height())
            picture = picture.scaled(kPictureBox, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        return Loaded {picture, DownloadOrigin::read(path)};
    }));
}
