#include "server_editor.h"

#include "controller/preferences.h"
#include "texts.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/spoken.h"
#include "ui/theme/theme.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>

ServerEditor::ServerEditor(Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_address(field(tr("Server address"), tr("http://localhost:11434")))
    , m_model(field(tr("Model for sorting"), tr("The model's name on the server")))
    , m_careful(field(tr("Model for Careful (optional)"), tr("Same as for sorting")))
    , m_second(field(tr("Model for a second look (optional)"), tr("None: no second look")))
    , m_key(field(tr("Server key (optional)"), tr("Only if your server asks for one")))
    , m_inFlight(new QSpinBox(this))
    , m_test(new SecondaryButton(tr("Test connection"), this, 32))
    , m_result(Texts::label(QString(), Texts::Style::body, this))
{
    m_key->setEchoMode(QLineEdit::Password);
    m_inFlight->setRange(ModelServer::kMinInFlight, ModelServer::kMaxInFlight);
    m_inFlight->setValue(ModelServer::kDefaultInFlight);
    m_inFlight->setAccessibleName(tr("Requests at once"));
    m_test->setAccessibleName(tr("Test connection"));
    m_result->hide();

    auto* form = new QFormLayout;
    form->setSpacing(6);
    for (QLineEdit* line : {m_address, m_model, m_careful, m_second, m_key})
        form->addRow(Texts::label(line->accessibleName(), Texts::Style::detail, this), line);
    form->addRow(Texts::label(m_inFlight->accessibleName(), Texts::Style::detail, this), m_inFlight);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addLayout(form);
    layout->addWidget(m_test, 0, Qt::AlignLeft);
    layout->addWidget(m_result);

    connect(m_test, &QPushButton::clicked, this, &ServerEditor::test);
    connect(m_inFlight, &QSpinBox::valueChanged, this, &ServerEditor::edited);
    connect(&m_preferences, &Preferences::serverTested, this, &ServerEditor::showResult);
    setServer(m_preferences.profile().server);
}

QLineEdit* ServerEditor::field(const QString& name, const QString& placeholder)
{
    auto* line = new QLineEdit(this);
    Texts::styleField(line);
    line->setAccessibleName(name);
    line->setPlaceholderText(placeholder);
    connect(line, &QLineEdit::textChanged, this, &ServerEditor::edited);
    return line;
}

ModelServer ServerEditor::server() const
{
    ModelServer server;
    server.address = m_address->text().trimmed();
    server.sortingModel = m_model->text().trimmed();
    server.carefulModel = m_careful->text().trimmed();
    server.secondModel = m_second->text().trimmed();
    server.inFlight = m_inFlight->value();
    // What a test learned holds only for the address and model it tried.
    if (server.address == m_tested.address && server.sortingModel == m_tested.sortingModel)
        server.acceptsImages = m_acceptsImages;
    return server;
}

void ServerEditor::setServer(const ModelServer& server)
{
    m_address->setText(server.address);
    m_model->setText(server.sortingModel);
    m_careful->setText(server.carefulModel);
    m_second->setText(server.secondModel);
    m_inFlight->setValue(server.inFlight);
    m_tested = server;
    m_acceptsImages = server.acceptsImages;
    if (server.acceptsImages == false) {
        m_result->show();
        Spoken::setText(m_result, tr("This model doesn't take images, so pictures are described to it in words."));
    }
}

QString ServerEditor::key() const
{
    return m_key->text().trimmed();
}

std::optional<QString> ServerEditor::problem() const
{
    if (const std::optional<QString> address = ModelServer::addressProblem(m_address->text()))
        return address;
    if (m_model->text().trimmed().isEmpty())
        return tr("Enter the name of the model to sort with.");
    return std::nullopt;
}

void ServerEditor::test()
{
    if (m_testing)
        return;
    if (const std::optional<QString> missing = problem()) {
        display(false, *missing);
        return;
    }
    m_testing = true;
    m_tested = server();
    m_test->setText(tr("Testing…"));
    m_test->setAccessibleName(tr("Testing…"));
    m_test->setEnabled(false);
    m_preferences.testServer(m_tested, key());
}

void ServerEditor::showResult(bool ok, const QString& text, const QStringList& models, int acceptsImages)
{
    // Another window's test is not this one's answer.
    if (!m_testing)
        return;
    m_testing = false;
    m_test->setText(tr("Test connection"));
    m_test->setAccessibleName(tr("Test connection"));
    m_test->setEnabled(true);
    m_acceptsImages = acceptsImages < 0 ? std::nullopt : std::optional(acceptsImages == 1);
    QString shown = text;
    if (!models.isEmpty())
        shown += u'\n' + tr("Models on this server: %1").arg(models.join(tr(", ")));
    display(ok, shown);
    Q_EMIT edited();
}

void ServerEditor::display(bool ok, const QString& shown)
{
    QPalette palette = m_result->palette();
    palette.setColor(QPalette::WindowText, ok ? Theme::charcoal : Theme::amberDeep);
    m_result->setPalette(palette);
    m_result->show();
    Spoken::setText(m_result, shown);
}
