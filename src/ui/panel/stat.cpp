#include "stat.h"

#include "ui/theme/theme.h"

#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

Stat::Stat(const QString& label, Size size, QWidget* parent)
    : QWidget(parent)
    , m_value(new QLabel(this))
    , m_label(label)
{
    auto* caption = new QLabel(label, this);
    caption->setForegroundRole(QPalette::PlaceholderText);
    QFont captionFont = caption->font();
    captionFont.setPixelSize(12);
    caption->setFont(captionFont);
    QFont valueFont = m_value->font();
    valueFont.setPixelSize(size == Size::mini ? 15 : 22);
    valueFont.setWeight(QFont::DemiBold);
    m_value->setFont(valueFont);
    m_value->setTextFormat(Qt::PlainText);
    const Qt::Alignment align = size == Size::mini ? Qt::AlignLeft : Qt::AlignHCenter;
    m_value->setAlignment(align);
    caption->setAlignment(align);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_value);
    layout->addWidget(caption);
}

void Stat::setValue(const QString& value)
{
    m_value->setText(value);
    // Read as one phrase: "12 to organize".
    setAccessibleName(value + u' ' + m_label);
}

QString Stat::value() const
{
    return m_value->text();
}
