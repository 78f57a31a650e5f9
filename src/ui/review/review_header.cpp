#include "review_header.h"

#include "ui/theme/theme.h"

#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

ReviewHeader::ReviewHeader(QWidget* parent, const QString& title, const QString& subtitle)
    : QWidget(parent)
    , m_title(new QLabel(title, this))
    , m_subtitle(new QLabel(subtitle, this))
{
    QFont big = m_title->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    big.setWeight(QFont::DemiBold);
    m_title->setFont(big);
    m_title->setObjectName(u"reviewTitle"_s);
    m_subtitle->setWordWrap(true);
    QPalette quiet = m_subtitle->palette();
    quiet.setColor(QPalette::WindowText, Theme::muted);
    m_subtitle->setPalette(quiet);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_title);
    layout->addWidget(m_subtitle);
}

QLabel* ReviewHeader::title() const
{
    return m_title;
}

QLabel* ReviewHeader::subtitle() const
{
    return m_subtitle;
}
