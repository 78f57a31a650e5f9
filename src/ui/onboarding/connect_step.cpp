#include "connect_step.h"

#include "controller/preferences.h"
#include "ui/settings/texts.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/spoken.h"
#include "ui/theme/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

ConnectStep::ConnectStep(Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_key(new QLineEdit(this))
    , m_test(new SecondaryButton(tr("Test connection"), this, 32))
    , m_result(Texts::label(QString(), Texts::Style::body, this))
{
    m_key->setEchoMode(QLineEdit::Password);
    m_key->setAccessibleName(tr("Claude API key"));
    m_key->setPlaceholderText(tr("sk-ant-…"));
    Texts::styleField(m_key);
    m_test->setAccessibleName(tr("Test connection"));
    m_test->setEnabled(false);
    m_result->setObjectName(u"connectionResult"_s);
    m_result->hide();

    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(m_key, 1);
    row->addWidget(m_test);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(Texts::label(tr("Connect Brindlow"), Texts::Style::heading, this));
    layout->addWidget(Texts::label(
        tr("Paste your Claude API key. It stays on this computer in a private file and is only sent to Anthropic."),
        Texts::Style::body,
        this));
    layout->addSpacing(4);
    layout->addLayout(row);
    layout->addWidget(m_result);

    connect(m_key, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_test->setEnabled(!m_testing && !text.trimmed().isEmpty());
        Q_EMIT keyChanged(text);
    });
    connect(m_test, &QPushButton::clicked, this, &ConnectStep::test);
    connect(m_key, &QLineEdit::returnPressed, this, &ConnectStep::submitted);
    connect(&m_preferences, &Preferences::connectionTested, this, &ConnectStep::showResult);
}

QString ConnectStep::key() const
{
    return m_key->text();
}

void ConnectStep::test()
{
    if (m_testing || m_key->text().trimmed().isEmpty())
        return;
    m_testing = true;
    m_testedKey = m_key->text();
    m_result->clear();
    m_result->hide();
    m_test->setText(tr("Testing…"));
    m_test->setAccessibleName(tr("Testing…"));
    m_test->setEnabled(false);
    m_preferences.testConnection(m_testedKey);
}

void ConnectStep::showResult(bool ok, const QString& text)
{
    // Another window's test, or one this step did not start.
    if (!m_testing)
        return;
    m_testing = false;
    m_test->setText(tr("Test connection"));
    m_test->setAccessibleName(tr("Test connection"));
    m_test->setEnabled(!m_key->text().trimmed().isEmpty());
    // An answer about a key that has since been changed would mislead.
    if (m_key->text() != m_testedKey)
        return;
    QPalette palette = m_result->palette();
    palette.setColor(QPalette::WindowText, ok ? Theme::charcoal : Theme::amberDeep);
    m_result->setPalette(palette);
    m_result->show();
    Spoken::setText(m_result, ok ? tr("Connected.") : text);
}
