#include "card.h"

#include <QVBoxLayout>

Card::Card(QWidget* parent)
    : QFrame(parent)
    , m_layout(new QVBoxLayout(this))
{
    m_layout->setContentsMargins(16, 14, 16, 14);
    m_layout->setSpacing(8);
}

QVBoxLayout* Card::content() const
{
    return m_layout;
}
