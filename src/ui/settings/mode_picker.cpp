#include "mode_picker.h"

#include "controller/preferences.h"
#include "texts.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

ModePicker::ModePicker(Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_group(new QButtonGroup(this))
    , m_caption(Texts::label(tr("CLAUDE MODEL"), Texts::Style::caption, this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(m_caption);
    auto* options = new QGridLayout;
    options->setHorizontalSpacing(16);
    options->setVerticalSpacing(2);
    const std::tuple<QString, QString, QString> choices[] = {
        {u"claude-haiku-5-5"_s, tr("Fast"), tr("Faster, great for most computers")},
        {u"claude-sonnet-5-5"_s, tr("Careful"), tr("Slower, more careful with tricky files")},
    };
    for (const auto& [model, title, caption] : choices) {
        auto* option = new QRadioButton(title, this);
        option->setAccessibleName(title);
        option->setAccessibleDescription(caption);
        QFont font = option->font();
        font.setPixelSize(13);
        font.setWeight(QFont::DemiBold);
        option->setFont(font);
        QLabel* below = Texts::label(caption, Texts::Style::detail, this);
        below->setBuddy(option);
        // Under the option's text, not under its circle.
        below->setIndent(22);
        const int column = int(m_models.size());
        options->addWidget(option, 0, column, Qt::AlignLeft);
        options->addWidget(below, 1, column);
        options->setColumnStretch(column, 1);
        m_group->addButton(option, column);
        m_models.append(model);
    }
    layout->addLayout(options);

    connect(m_group, &QButtonGroup::idClicked, this, [this](int id) {
        Profile profile = m_preferences.profile();
        if (profile.model == m_models.value(id))
            return;
        profile.model = m_models.value(id);
        m_preferences.setProfile(profile);
    });
    connect(&m_preferences, &Preferences::profileChanged, this, &ModePicker::showProfile);
    showProfile();
}

void ModePicker::showProfile()
{
    // A server's Fast and Careful are its own models; sorting by kind has nothing to choose.
    const SortWith sortWith = m_preferences.profile().sortWith;
    m_caption->setText(sortWith == SortWith::claude ? tr("CLAUDE MODEL") : tr("MODEL"));
    setVisible(sortWith != SortWith::noModel);
    const qsizetype id = m_models.indexOf(m_preferences.profile().model);
    if (QAbstractButton* option = m_group->button(int(id))) {
        option->setChecked(true);
        return;
    }
    // A model chosen elsewhere (by hand in the profile, say) is neither of ours: show no choice.
    m_group->setExclusive(false);
    for (QAbstractButton* option : m_group->buttons())
        option->setChecked(false);
    m_group->setExclusive(true);
}
