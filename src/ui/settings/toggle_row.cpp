#include "toggle_row.h"

#include "texts.h"
#include "ui/theme/switch.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>

ToggleRow::ToggleRow(const QString& title, const QString& detail, QWidget* parent)
    : QWidget(parent)
    , m_switch(new Switch(title, this))
{
    auto* words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(Texts::label(title, Texts::Style::title, this));
    if (!detail.isEmpty()) {
        QLabel* below = Texts::label(detail, Texts::Style::detail, this);
        m_switch->setAccessibleDescription(detail);
        words->addWidget(below);
    }
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 4, 0, 4);
    layout->setSpacing(16);
    layout->addLayout(words, 1);
    layout->addWidget(m_switch, 0, Qt::AlignTop);
    connect(m_switch, &Switch::toggled, this, &ToggleRow::toggled);
}

bool ToggleRow::isOn() const
{
    return m_switch->isChecked();
}

void ToggleRow::setOn(bool on)
{
    const QSignalBlocker quiet(m_switch);
    m_switch->setChecked(on);
}

Switch* ToggleRow::toggle() const
{
    return m_switch;
}
