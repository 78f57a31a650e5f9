#include "finale_view.h"

#include "rise.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/sunrise_mark.h"
#include "ui/theme/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

FinaleView::FinaleView(QWidget* parent)
    : QWidget(parent)
{
    setAutoFillBackground(true);
    QPalette palette = this->palette();
    palette.setColor(QPalette::Window, Theme::surface);
    setPalette(palette);

    auto* sun = new SunriseMark(96);
    // Lowered far enough that it comes up from behind the edge, as a sun does.
    m_sun = new Rise(sun, 0, 40, this);

    auto* breathe = new QLabel(tr("Breathe."));
    QFont big = breathe->font();
    big.setPixelSize(36);
    big.setWeight(QFont::DemiBold);
    breathe->setFont(big);
    breathe->setAlignment(Qt::AlignCenter);
    palette = breathe->palette();
    palette.setColor(QPalette::WindowText, Theme::charcoal);
    breathe->setPalette(palette);

    auto* fresh = new QLabel(tr("You're starting the week fresh."));
    QFont line = fresh->font();
    line.setPixelSize(17);
    fresh->setFont(line);
    fresh->setAlignment(Qt::AlignCenter);
    palette.setColor(QPalette::WindowText, Theme::muted);
    fresh->setPalette(palette);

    auto* buttons = new QWidget;
    auto* open = new SecondaryButton(tr("Open Folder"), buttons, 38);
    auto* done = new PrimaryButton(tr("Done"), buttons, 38);
    open->setMinimumWidth(140);
    done->setMinimumWidth(140);
    done->setDefault(true);
    connect(open, &QPushButton::clicked, this, &FinaleView::openFolderRequested);
    connect(done, &QPushButton::clicked, this, &FinaleView::doneRequested);
    auto* row = new QHBoxLayout(buttons);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(12);
    row->addWidget(open);
    row->addWidget(done);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(48, 56, 48, 56);
    layout->setSpacing(0);
    layout->addStretch(1);
    layout->addWidget(m_sun, 0, Qt::AlignHCenter);
    layout->addSpacing(18);
    layout->addWidget(new Rise(breathe, 500, 14, this));
    layout->addSpacing(8);
    layout->addWidget(new Rise(fresh, 700, 14, this));
    layout->addSpacing(32);
    layout->addWidget(new Rise(buttons, 1000, 14, this), 0, Qt::AlignHCenter);
    layout->addStretch(1);
}

bool FinaleView::rose() const
{
    return m_sun->isOn();
}
