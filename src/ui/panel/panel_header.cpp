#include "panel_header.h"

#include "panel_icons.h"
#include "ui/theme/sunrise_mark.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

PanelHeader::PanelHeader(QWidget* parent)
    : QWidget(parent)
    , m_subtitle(new QLabel(this))
{
    auto* mark = new SunriseMark(36, this);
    mark->setTile(true);
    auto* title = new QLabel(tr("Brindlow"), this);
    title->setObjectName(u"panelTitle"_s);
    QFont titleFont = title->font();
    titleFont.setPixelSize(16);
    titleFont.setWeight(QFont::DemiBold);
    title->setFont(titleFont);
    m_subtitle->setObjectName(u"panelSubtitle"_s);
    m_subtitle->setForegroundRole(QPalette::PlaceholderText);
    m_subtitle->setTextFormat(Qt::PlainText);

    auto* gear = new QToolButton(this);
    gear->setIcon(PanelIcons::gear());
    gear->setIconSize({20, 20});
    gear->setAutoRaise(true);
    gear->setToolTip(tr("Settings"));
    gear->setAccessibleName(tr("Settings"));
    gear->setCursor(Qt::PointingHandCursor);
    connect(gear, &QToolButton::clicked, this, &PanelHeader::settingsRequested);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addWidget(title);
    texts->addWidget(m_subtitle);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(10);
    row->addWidget(mark);
    row->addLayout(texts, 1);
    row->addWidget(gear, 0, Qt::AlignTop);
}

void PanelHeader::setSubtitle(const QString& subtitle)
{
    m_subtitle->setText(subtitle);
}
