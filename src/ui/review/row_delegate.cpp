#include "row_delegate.h"

#include "common/numbers.h"
#include "controller/plan_model.h"
#include "controller/thumb_cache.h"
#include "model/file_kind.h"
#include "model/home_tree.h"
#include "name_editor.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QStyle>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRowHeight = 36;
constexpr int kRenameRowHeight = 46;
constexpr int kUndoWidth = 64;
constexpr int kThumbSide = 42;
constexpr int kNeedsRowHeight = 50;
constexpr int kChoiceWidth = 230;

void drawCheckBox(QPainter* painter, const QRect& rect, bool on)
{
    painter->setPen(on ? Qt::NoPen : QPen(Theme::stone, 1.2));
    painter->setBrush(on ? Theme::amberDeep : Theme::surface);
    painter->drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    if (!on)
        return;
    const QRectF r(rect);
    const QPointF points[] = {{r.left() + r.width() * 0.25, r.top() + r.height() * 0.52},
                              {r.left() + r.width() * 0.43, r.top() + r.height() * 0.70},
                              {r.left() + r.width() * 0.76, r.top() + r.height() * 0.32}};
    painter->setPen(QPen(Theme::surface, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->drawPolyline(points, 3);
}

// The old name over its folder, an arrow, and the new name: struck through while refused.
void paintRename(
    QPainter* painter, const QRect& text, const QFontMetrics& metrics, const QString& name, const QModelIndex& index)
{
    const QString newName = index.data(PlanModel::NewNameRole).toString();
    const bool on = index.data(PlanModel::RenameApprovedRole).toBool();
    const int half = (text.width() - 40) / 2;
    const int line = metrics.height();
    const int middle = text.center().y();
    painter->setPen(Theme::charcoal);
    painter->drawText(QRect(text.left(), middle - line, half, line),
                      Qt::AlignBottom | Qt::AlignLeft,
                      metrics.elidedText(name, Qt::ElideMiddle, half));
    painter->setPen(Theme::muted);
    painter->drawText(QRect(text.left(), middle + 1, half, line),
                      Qt::AlignTop | Qt::AlignLeft,
                      metrics.elidedText(index.data(PlanModel::FolderRole).toString(), Qt::ElideMiddle, half));
    painter->setPen(on ? Theme::amberDeep : Theme::muted);
    painter->drawText(QRect(text.left() + half, text.top(), 40, text.height()), Qt::AlignCenter, u"\u2192"_s);
    QFont font = painter->font();
    font.setStrikeOut(!on);
    painter->setFont(font);
    painter->setPen(on ? Theme::charcoal : Theme::muted);
    painter->drawText(QRect(text.left() + half + 40, text.top(), half, text.height()),
                      Qt::AlignVCenter | Qt::AlignLeft,
                      metrics.elidedText(newName, Qt::ElideMiddle, half));
    font.setStrikeOut(false);
    painter->setFont(font);
}

// The name, the folder it is in, and its size at the right edge.
void paintJunk(
    QPainter* painter, const QRect& text, const QFontMetrics& metrics, const QString& name, const QModelIndex& index)
{
    const QString size = Numbers::size(index.data(PlanModel::SizeRole).toLongLong());
    const int sizeWidth = metrics.horizontalAdvance(size) + 8;
    const int folderWidth = std::min(260, text.width() / 3);
    const int nameWidth = text.width() - sizeWidth - folderWidth - 16;
    painter->setPen(Theme::charcoal);
    painter->drawText(QRect(text.left(), text.top(), nameWidth, text.height()),
                      Qt::AlignVCenter | Qt::AlignLeft,
                      metrics.elidedText(name, Qt::ElideMiddle, nameWidth));
    painter->setPen(Theme::muted);
    painter->drawText(QRect(text.left() + nameWidth + 8, text.top(), folderWidth, text.height()),
                      Qt::AlignVCenter | Qt::AlignLeft,
                      metrics.elidedText(index.data(PlanModel::FolderRole).toString(), Qt::ElideMiddle, folderWidth));
    painter->drawText(text, Qt::AlignVCenter | Qt::AlignRight, size);
}

// The name over the reason it needs the person, and the drop-down of where it goes.
void paintNeeds(QPainter* painter,
                const QRect& row,
                const QRect& text,
                const QFontMetrics& metrics,
                const QString& name,
                const QModelIndex& index,
                bool undoable)
{
    const int line = metrics.height();
    const QRect upper(text.left(), row.center().y() - line, text.width(), line);
    const QRect lower(text.left(), row.center().y() + 1, text.width(), line);
    painter->setPen(Theme::charcoal);
    painter->drawText(upper, Qt::AlignLeft | Qt::AlignBottom, metrics.elidedText(name, Qt::ElideMiddle, text.width()));
    painter->setPen(Theme::muted);
    painter->drawText(lower,
                      Qt::AlignLeft | Qt::AlignTop,
                      metrics.elidedText(index.data(PlanModel::FolderRole).toString() + u" \u00B7 "_s
                                             + index.data(PlanModel::ReasonRole).toString(),
                                         Qt::ElideRight,
                                         text.width()));
    const QRect choice = RowDelegate::choiceRect(row);
    painter->setPen(QPen(Theme::hairline.darker(110), 1));
    painter->setBrush(Theme::surface);
    painter->drawRoundedRect(QRectF(choice).adjusted(0.5, 0.5, -0.5, -0.5), 7, 7);
    painter->setPen(Theme::charcoal);
    const QRect inside = choice.adjusted(12, 0, -28, 0);
    painter->drawText(inside,
                      Qt::AlignVCenter | Qt::AlignLeft,
                      metrics.elidedText((undoable ? u"\u2192 "_s : QString()) + RowDelegate::choiceText(index),
                                         Qt::ElideMiddle,
                                         inside.width()));
    painter->setPen(Theme::muted);
    painter->drawText(choice.adjusted(0, 0, -10, 0), Qt::AlignVCenter | Qt::AlignRight, u"\u25BE"_s);
    if (!undoable)
        return;
    QFont link = painter->font();
    link.setUnderline(true);
    painter->setFont(link);
    painter->setPen(Theme::amberDeep);
    painter->drawText(RowDelegate::undoRect(row), Qt::AlignCenter, RowDelegate::tr("Undo"));
    link.setUnderline(false);
    painter->setFont(link);
}

} // namespace

QRect RowDelegate::checkRect(const QRect& row)
{
    return {row.left() + 12, row.center().y() - 8, 16, 16};
}

QRect RowDelegate::choiceRect(const QRect& row)
{
    return {row.right() - kChoiceWidth - 12, row.center().y() - 14, kChoiceWidth, 28};
}

QRect RowDelegate::undoRect(const QRect& row)
{
    const QRect choice = choiceRect(row);
    return {choice.left() - kUndoWidth - 8, choice.top(), kUndoWidth, choice.height()};
}

QRect RowDelegate::newNameRect(const QRect& row)
{
    const int left = checkRect(row).right() + 12 + kThumbSide + 10;
    const int width = row.right() - 12 - left;
    const int half = (width - 40) / 2;
    return {left + half + 36, row.center().y() - 15, half + 4, 30};
}

QString RowDelegate::choiceText(const QModelIndex& index)
{
    if (!index.data(PlanModel::ApprovedRole).toBool())
        return tr("Leave where it is");
    const QString destination = index.data(PlanModel::DestinationRole).toString();
    if (destination == HomeTree::needsYou())
        return tr("Needs You folder");
    if (destination == HomeTree::archive())
        return tr("Archive");
    return destination;
}

RowDelegate::RowDelegate(Kind kind, QObject* parent)
    : QAbstractItemDelegate(parent)
    , m_kind(kind)
{ }

QSize RowDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    switch (m_kind) {
        case Kind::needs:
            return {400, kNeedsRowHeight};
        case Kind::rename:
            return {400, kRenameRowHeight};
        case Kind::junk:
            break;
    }
    return {400, kRowHeight};
}

void RowDelegate::setThumbnails(ThumbCache* thumbs, std::function<void(const QString& path)> missing)
{
    m_thumbs = thumbs;
    m_missing = std::move(missing);
}

void RowDelegate::paintThumbnail(QPainter* painter, const QRect& box, const QModelIndex& index) const
{
    const QString path = index.data(PlanModel::PathRole).toString();
    const std::optional<QImage> image = m_thumbs->cached(path);
    if (!image && m_missing)
        m_missing(path);
    painter->setPen(Qt::NoPen);
    painter->setBrush(Theme::sand);
    painter->drawRoundedRect(QRectF(box), 4, 4);
    if (!image || image->isNull())
        return;
    const QSize fitted = image->size().scaled(box.size(), Qt::KeepAspectRatio);
    painter->drawImage(QRect(box.center() - QPoint(fitted.width() / 2, fitted.height() / 2), fitted), *image);
}

void RowDelegate::setUndoable(std::function<bool(const QModelIndex&)> undoable)
{
    m_undoable = std::move(undoable);
}

QWidget* RowDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex& index) const
{
    const auto kind = FileKind(index.data(PlanModel::KindRole).toInt());
    if (m_kind != Kind::rename || kind == FileKind::folder || kind == FileKind::bundle || kind == FileKind::project)
        return nullptr;
    auto* editor = new NameEditor(parent);
    editor->setAutoFillBackground(true);
    return editor;
}

void RowDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    const QString name = index.data(PlanModel::NameRole).toString();
    static_cast<NameEditor*>(editor)->setName(index.data(PlanModel::NewNameRole).toString(), QFileInfo(name).suffix());
}

void RowDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const
{
    model->setData(index, static_cast<NameEditor*>(editor)->stem(), PlanModel::NewNameRole);
}

void RowDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option, const QModelIndex&) const
{
    editor->setGeometry(newNameRect(option.rect));
}

bool RowDelegate::eventFilter(QObject* watched, QEvent* event)
{
    auto* editor = qobject_cast<NameEditor*>(watched);
    if (!editor || event->type() != QEvent::KeyPress)
        return QAbstractItemDelegate::eventFilter(watched, event);
    switch (static_cast<QKeyEvent*>(event)->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            Q_EMIT commitData(editor);
            Q_EMIT closeEditor(editor, QAbstractItemDelegate::NoHint);
            return true;
        case Qt::Key_Escape:
            Q_EMIT closeEditor(editor, QAbstractItemDelegate::RevertModelCache);
            return true;
        default:
            return QAbstractItemDelegate::eventFilter(watched, event);
    }
}

void RowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRect row = option.rect;
    if (option.state & QStyle::State_Selected)
        painter->fillRect(row, Theme::sand);
    else if (option.state & QStyle::State_MouseOver)
        painter->fillRect(row, Theme::sand.lighter(104));
    painter->setPen(Theme::hairline);
    painter->drawLine(row.bottomLeft(), row.bottomRight());

    const QString name = index.data(PlanModel::NameRole).toString();
    const QFontMetrics& metrics = option.fontMetrics;
    int left = row.left() + 12;
    if (m_kind != Kind::needs) {
        const bool on
            = index.data(m_kind == Kind::rename ? PlanModel::RenameApprovedRole : PlanModel::ApprovedRole).toBool();
        drawCheckBox(painter, checkRect(row), on);
        left = checkRect(row).right() + 12;
    }
    if (m_kind == Kind::rename && m_thumbs) {
        paintThumbnail(painter, QRect(left, row.center().y() - 16, kThumbSide, 32), index);
        left += kThumbSide + 10;
    }
    const int right = m_kind == Kind::needs ? undoRect(row).left() - 8 : row.right() - 12;
    QRect text(left, row.top(), right - left, row.height());

    switch (m_kind) {
        case Kind::rename:
            paintRename(painter, text, metrics, name, index);
            break;
        case Kind::junk:
            paintJunk(painter, text, metrics, name, index);
            break;
        case Kind::needs:
            paintNeeds(painter, row, text, metrics, name, index, m_undoable && m_undoable(index));
            break;
    }
    painter->restore();
}
