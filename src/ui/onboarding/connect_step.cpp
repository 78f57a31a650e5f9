#include "connect_step.h"

#include "controller/preferences.h"
#include "ui/settings/server_editor.h"
#include "ui/settings/sort_with_picker.h"
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
    , m_picker(new SortWithPicker(SortWithPicker::Place::setUp, this))
    , m_claude(new QWidget(this))
    , m_server(new ServerEditor(preferences, this))
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
    auto* claude = new QVBoxLayout(m_claude);
    claude->setContentsMargins(0, 0, 0, 0);
    claude->setSpacing(10);
    claude->addWidget(Texts::label(
        tr("Paste your Claude API key. It stays on this computer in a private file and is only sent to Anthropic."),
        Texts::Style::body,
        m_claude));
    claude->addLayout(row);
    claude->addWidget(m_result);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(Texts::label(tr("Connect Brindlow"), Texts::Style::heading, this));
    layout->addWidget(m_picker);
    layout->addSpacing(4);
    layout->addWidget(m_claude);
    layout->addWidget(m_server);

    m_picker->setChoice(m_preferences.profile().sortWith);
    showChoice();
    connect(m_picker, &SortWithPicker::chosen, this, &ConnectStep::showChoice);
    connect(m_server, &ServerEditor::edited, this, [this] { Q_EMIT keyChanged(m_key->text()); });
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

bool ConnectStep::ready() const
{
    if (m_picker->choice() == SortWith::noModel)
        return true;
    if (m_picker->choice() == SortWith::ownServer)
        return !m_server->problem();
    return !m_key->text().trimmed().isEmpty();
}

void ConnectStep::save()
{
    Profile profile = m_preferences.profile();
    profile.sortWith = m_picker->choice();
    if (profile.sortWith == SortWith::ownServer) {
        profile.server = m_server->server();
        if (!m_server->key().isEmpty())
            m_preferences.saveServerKey(m_server->key());
    } else if (profile.sortWith == SortWith::claude) {
        m_preferences.saveKey(m_key->text());
    }
    m_preferences.setProfile(profile);
}

void ConnectStep::showChoice()
{
    const bool server = m_picker->choice() == SortWith::ownServer;
    // Without a model there is nothing to connect: no key, no address.
    m_claude->setVisible(m_picker->choice() == SortWith::claude);
    m_server->setVisible(server);
    Q_EMIT keyChanged(m_key->text());
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
