#include "sort_with_picker.h"

#include "texts.h"

#include <QButtonGroup>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

SortWithPicker::SortWithPicker(Place place, QWidget* parent)
    : QWidget(parent)
    , m_group(new QButtonGroup(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(Texts::label(tr("SORT WITH"), Texts::Style::caption, this));
    const std::tuple<SortWith, QString, QString> choices[] = {
        {SortWith::claude, tr("Claude"), tr("Anthropic's models, with your own API key")},
        {SortWith::ownServer,
         tr("A server of your own"),
         tr("A model on your computer or network; your files never leave it")},
        {SortWith::noModel,
         place == Place::setUp ? tr("Sort without a model") : tr("No model"),
         tr("Sort by kind. Nothing leaves this computer.")},
    };
    for (const auto& [choice, title, caption] : choices) {
        auto* option = new QRadioButton(title, this);
        option->setAccessibleName(title);
        option->setAccessibleDescription(caption);
        QLabel* below = Texts::label(caption, Texts::Style::detail, this);
        below->setBuddy(option);
        below->setIndent(22);
        layout->addWidget(option, 0, Qt::AlignLeft);
        layout->addWidget(below);
        m_group->addButton(option, int(m_choices.size()));
        m_choices.append(choice);
    }
    setChoice(SortWith::claude);
    // Toggled rather than clicked: a screen reader's Toggle action chooses without a click.
    connect(m_group, &QButtonGroup::idToggled, this, [this](int id, bool checked) {
        if (checked && !m_showing)
            Q_EMIT chosen(m_choices.value(id));
    });
}

SortWith SortWithPicker::choice() const
{
    return m_choices.value(m_group->checkedId(), SortWith::claude);
}

void SortWithPicker::setChoice(SortWith choice)
{
    m_showing = true;
    if (QAbstractButton* option = m_group->button(int(m_choices.indexOf(choice))))
        option->setChecked(true);
    m_showing = false;
}
