#include "recap_slides.h"

#include "common/numbers.h"
#include "count_up.h"
#include "grow_bar.h"
#include "rise.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/theme.h"

#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kContentWidth = 460;
constexpr int kFigureSize = 96;
constexpr int kNameWidth = 180;

QLabel* text(const QString& words, int pixelSize, const QColor& colour, bool strong = false)
{
    auto* label = new QLabel(words);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setWeight(strong ? QFont::DemiBold : QFont::Normal);
    label->setFont(font);
    label->setAlignment(Qt::AlignCenter);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    return label;
}

// A name that may be as long as a file system allows, cut in the middle where it would not fit;
// the whole name stays in the tooltip and for screen readers.
QLabel*
name(const QString& words, int pixelSize, const QColor& colour, int width, Qt::Alignment align, Qt::TextElideMode cut)
{
    QLabel* label = text(words, pixelSize, colour);
    label->setText(QFontMetrics(label->font()).elidedText(words, cut, width));
    label->setAlignment(align | Qt::AlignVCenter);
    label->setAccessibleName(words);
    if (label->text() != words)
        label->setToolTip(words);
    return label;
}

// A figure as large as will fit: a few hundred gigabytes must not touch the window's edges.
void fit(QLabel* figure, int maxWidth)
{
    QFont font = figure->font();
    const int wanted = QFontMetrics(font).horizontalAdvance(figure->text());
    if (wanted > maxWidth)
        font.setPixelSize(std::max(12, font.pixelSize() * maxWidth / wanted));
    figure->setFont(font);
}

// A dark slide: its pieces stacked and centred, clear of the capsules above and the hint below.
QWidget* page(const QList<QWidget*>& pieces, const QList<int>& gaps)
{
    auto* slide = new QWidget;
    slide->setAutoFillBackground(true);
    QPalette palette = slide->palette();
    palette.setColor(QPalette::Window, Qt::black);
    slide->setPalette(palette);
    auto* layout = new QVBoxLayout(slide);
    layout->setContentsMargins(48, 64, 48, 72);
    layout->setSpacing(0);
    layout->addStretch(1);
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        if (i > 0)
            layout->addSpacing(gaps.value(i - 1, 12));
        pieces[i]->setParent(slide);
        layout->addWidget(pieces[i]);
    }
    layout->addStretch(1);
    return slide;
}

} // namespace

QList<RecapSlides::Slide> RecapSlides::listFor(const std::optional<RecapData>& recap)
{
    if (!recap)
        return {Slide::finale};
    QList<Slide> slides {Slide::intro};
    if (recap->result.moved > 0)
        slides.append(Slide::moved);
    if (!recap->groups.isEmpty())
        slides.append(Slide::groups);
    if (recap->result.renamed > 0)
        slides.append(Slide::renamed);
    if (recap->result.junkBytes > 0)
        slides.append(Slide::clear);
    slides.append(Slide::finale);
    return slides;
}

QWidget* RecapSlides::intro(const RecapData& recap)
{
    // Whole sentences per day, so that a translation can bend each as its language needs.
    const QString days[] = {tr("This Monday,"),
                            tr("This Tuesday,"),
                            tr("This Wednesday,"),
                            tr("This Thursday,"),
                            tr("This Friday,"),
                            tr("This Saturday,"),
                            tr("This Sunday,")};
    const QDate day = recap.day.isValid() ? recap.day : QDate::currentDate();
    return page({new Rise(text(days[day.dayOfWeek() - 1], 38, Theme::stone), 100),
                 new Rise(text(tr("you made room."), 38, Theme::ivory, true), 600)},
                {6});
}

QWidget* RecapSlides::moved(const RecapData& recap)
{
    return page({new Rise(text(tr("Your computer just exhaled."), 22, Theme::stone), 0),
                 new CountUp(recap.result.moved, kFigureSize, Theme::amber, kContentWidth),
                 new Rise(text(tr("files found a home."), 24, Theme::ivory, true), 400)},
                {10, 4});
}

QWidget* RecapSlides::groups(const RecapData& recap)
{
    auto* rows = new QWidget;
    auto* grid = new QGridLayout(rows);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(14);
    grid->setColumnStretch(1, 1);
    int largest = 1;
    for (const GroupCount& group : recap.groups)
        largest = std::max(largest, group.count);
    const int shown = std::min<int>(int(recap.groups.size()), kMaxGroupRows);
    for (int row = 0; row < shown; ++row) {
        const GroupCount& group = recap.groups[row];
        grid->addWidget(name(group.name, 15, Theme::ivory, kNameWidth, Qt::AlignLeft, Qt::ElideRight), row, 0);
        auto* bar = new GrowBar(double(group.count) / largest, kGroupFirstDelayMs + row * kGroupDelayStepMs);
        bar->setAccessibleName(group.name);
        bar->setAccessibleDescription(group.count == 1 ? tr("1 file")
                                                       : tr("%1 files").arg(Numbers::count(group.count)));
        grid->addWidget(bar, row, 1, Qt::AlignVCenter);
        QLabel* count = text(Numbers::count(group.count), 15, Theme::amber, true);
        count->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        grid->addWidget(count, row, 2);
    }
    grid->setColumnMinimumWidth(0, kNameWidth);
    QList<QWidget*> pieces {new Rise(text(tr("Where everything went"), 26, Theme::ivory, true), 0),
                            new Rise(rows, 150)};
    if (recap.groups.size() > shown) {
        const int others = int(recap.groups.size()) - shown;
        pieces.append(new Rise(text(tr("+ %1 more").arg(Numbers::count(others)), 14, Theme::stone),
                               kGroupFirstDelayMs + shown * kGroupDelayStepMs));
    }
    return page(pieces, {28, 16});
}

QWidget* RecapSlides::renamed(const RecapData& recap)
{
    QList<QWidget*> pieces {new CountUp(recap.result.renamed, kFigureSize, Theme::amber, kContentWidth),
                            new Rise(text(tr("names made clear."), 24, Theme::ivory, true), 400)};
    if (recap.renameFrom && recap.renameTo) {
        auto* example = new QWidget;
        auto* lines = new QVBoxLayout(example);
        lines->setContentsMargins(0, 0, 0, 0);
        lines->setSpacing(4);
        lines->addWidget(name(*recap.renameFrom, 15, Theme::stone, kContentWidth, Qt::AlignHCenter, Qt::ElideMiddle));
        QLabel* arrow = text(u"\u2193"_s, 16, Theme::amber);
        arrow->setAccessibleName(tr("renamed to"));
        lines->addWidget(arrow);
        lines->addWidget(name(*recap.renameTo, 15, Theme::ivory, kContentWidth, Qt::AlignHCenter, Qt::ElideMiddle));
        pieces.append(new Rise(example, 900));
    }
    return page(pieces, {4, 28});
}

QWidget* RecapSlides::clear(const RecapData& recap, const std::function<void()>& openReviewFolder)
{
    auto* figure = text(Numbers::size(recap.result.junkBytes), kFigureSize, Theme::amber, true);
    QFont font = figure->font();
    font.setWeight(QFont::Bold);
    figure->setFont(font);
    fit(figure, kContentWidth);
    QLabel* note
        = text(tr("Nothing was deleted. It's waiting in your review folder whenever you're ready."), 15, Theme::stone);
    note->setWordWrap(true);
    note->setFixedWidth(380);

    auto* open = new SecondaryButton(tr("Open Review Folder"), nullptr, 34);
    QObject::connect(open, &QPushButton::clicked, open, openReviewFolder);
    auto* button = new QWidget;
    auto* row = new QHBoxLayout(button);
    row->setContentsMargins(0, 0, 0, 0);
    row->addStretch(1);
    row->addWidget(open);
    row->addStretch(1);

    auto* noteRow = new QWidget;
    auto* centred = new QHBoxLayout(noteRow);
    centred->setContentsMargins(0, 0, 0, 0);
    centred->addWidget(note, 0, Qt::AlignHCenter);

    return page({new Rise(figure, 0),
                 new Rise(text(tr("ready to clear out."), 24, Theme::ivory, true), 300),
                 new Rise(noteRow, 700),
                 new Rise(button, 1000)},
                {4, 18, 22});
}
