#include "name_editor.h"

#include "ui/theme/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

using namespace Qt::Literals::StringLiterals;

NameEditor::NameEditor(QWidget* parent)
    : QWidget(parent)
    , m_field(new QLineEdit(this))
    , m_extension(new QLabel(this))
{
    m_field->setAccessibleName(tr("New name"));
    m_extension->setAccessibleName(tr("Extension"));
    QPalette quiet = m_extension->palette();
    quiet.setColor(QPalette::WindowText, Theme::muted);
    m_extension->setPalette(quiet);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_field, 1);
    layout->addWidget(m_extension);
    setFocusProxy(m_field);
    connect(m_field, &QLineEdit::editingFinished, this, [this] {
        const QString typed = m_field->text().trimmed();
        if (typed.isEmpty() || typed == m_shown)
            return;
        m_shown = typed;
        Q_EMIT submitted(typed);
    });
}

void NameEditor::setName(const QString& name, const QString& extension)
{
    const bool hasExtension = !extension.isEmpty() && name.endsWith(u'.' + extension, Qt::CaseInsensitive);
    m_shown = hasExtension ? name.chopped(extension.size() + 1) : name;
    m_field->setText(m_shown);
    m_field->setCursorPosition(0);
    m_extension->setText(extension.isEmpty() ? QString() : u'.' + extension);
    m_extension->setVisible(!extension.isEmpty());
}

QString NameEditor::stem() const
{
    return m_field->text();
}

QLineEdit* NameEditor::field() const
{
    return m_field;
}
