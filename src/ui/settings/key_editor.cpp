#include "key_editor.h"

#include "controller/preferences.h"
#include "texts.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/spoken.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

KeyEditor::KeyEditor(Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_field(new QLineEdit(this))
    , m_save(new SecondaryButton(tr("Save key"), this, 32))
    , m_saved(Texts::label(tr("Saved."), Texts::Style::detail, this))
    , m_stored(Texts::label(QString(), Texts::Style::detail, this))
{
    Texts::styleField(m_field);
    m_field->setEchoMode(QLineEdit::Password);
    m_field->setAccessibleName(tr("Claude API key"));
    m_field->setClearButtonEnabled(true);
    m_save->setAccessibleName(tr("Save key"));
    m_save->setEnabled(false);
    m_saved->hide();

    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(m_field, 1);
    row->addWidget(m_save);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(Texts::label(tr("CLAUDE API KEY"), Texts::Style::caption, this));
    layout->addWidget(m_stored);
    layout->addLayout(row);
    layout->addWidget(m_saved);

    connect(m_field, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_save->setEnabled(!text.trimmed().isEmpty());
        m_saved->hide();
    });
    connect(m_save, &QPushButton::clicked, this, &KeyEditor::save);
    connect(m_field, &QLineEdit::returnPressed, this, &KeyEditor::save);
    connect(&m_preferences, &Preferences::apiKeyChanged, this, &KeyEditor::showStored);
    showStored();
}

void KeyEditor::showStored()
{
    // The stored key itself never comes back to the screen, not even as dots.
    const bool stored = !m_preferences.apiKey().isEmpty();
    Spoken::setText(m_stored,
                    stored ? tr("A key is stored. Paste a new one to replace it.")
                           : tr("No key stored yet. Paste your Claude API key."));
    m_field->setPlaceholderText(stored ? tr("New key") : tr("sk-ant-…"));
    m_field->setAccessibleDescription(m_stored->text());
}

void KeyEditor::save()
{
    if (m_field->text().trimmed().isEmpty())
        return;
    m_preferences.saveKey(m_field->text());
    m_field->clear();
    m_saved->show();
}
