#include "projects_editor.h"

#include "controller/preferences.h"
#include "texts.h"
#include "ui/theme/secondary_button.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

ProjectsEditor::ProjectsEditor(Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_none(Texts::label(
          tr("None yet. They're learned automatically on your first refresh."), Texts::Style::detail, this))
    , m_list(new QWidget(this))
    , m_rows(new QVBoxLayout(m_list))
    , m_name(new QLineEdit(this))
    , m_aliases(new QLineEdit(this))
    , m_add(new SecondaryButton(tr("Add"), this, 32))
{
    m_rows->setContentsMargins(0, 0, 0, 0);
    m_rows->setSpacing(2);
    m_name->setPlaceholderText(tr("Add a project"));
    m_name->setAccessibleName(tr("Add a project"));
    m_aliases->setPlaceholderText(tr("Other names, comma separated"));
    m_aliases->setAccessibleName(tr("Other names, comma separated"));
    m_add->setAccessibleName(tr("Add"));
    m_add->setEnabled(false);

    Texts::styleField(m_name);
    Texts::styleField(m_aliases);
    auto* adding = new QHBoxLayout;
    adding->setSpacing(8);
    adding->addWidget(m_aliases, 1);
    adding->addWidget(m_add);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_none);
    layout->addWidget(m_list);
    layout->addWidget(m_name);
    layout->addLayout(adding);

    connect(m_name, &QLineEdit::textChanged, this, [this] { m_add->setEnabled(!m_name->text().trimmed().isEmpty()); });
    connect(m_add, &QPushButton::clicked, this, &ProjectsEditor::add);
    connect(m_name, &QLineEdit::returnPressed, this, &ProjectsEditor::add);
    connect(m_aliases, &QLineEdit::returnPressed, this, &ProjectsEditor::add);
    connect(&m_preferences, &Preferences::profileChanged, this, &ProjectsEditor::showProjects);
    showProjects();
}

void ProjectsEditor::showProjects()
{
    // The pressed remove button may be among the old rows: they go once its click is over.
    while (QLayoutItem* item = m_rows->takeAt(0)) {
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    const QList<Project>& projects = m_preferences.profile().projects;
    for (const Project& project : projects) {
        QWidget* row = projectRow(project.id, project.name, project.aliases);
        m_rows->addWidget(row);
        // The list may be on screen already; a new child would only show on a later pass.
        row->show();
    }
    m_none->setVisible(projects.isEmpty());
    m_list->setVisible(!projects.isEmpty());
}

QWidget* ProjectsEditor::projectRow(const QUuid& id, const QString& name, const QString& aliases)
{
    auto* row = new QWidget(m_list);
    auto* words = new QHBoxLayout;
    words->setSpacing(8);
    QLabel* title = Texts::label(name, Texts::Style::title, row);
    title->setWordWrap(false);
    words->addWidget(title);
    if (!aliases.trimmed().isEmpty()) {
        QLabel* other = Texts::label(aliases, Texts::Style::detail, row);
        other->setWordWrap(false);
        words->addWidget(other, 1);
    } else {
        words->addStretch(1);
    }
    auto* remove = new QPushButton(u"✕"_s, row);
    remove->setFlat(true);
    remove->setCursor(Qt::PointingHandCursor);
    remove->setAccessibleName(tr("Remove %1").arg(name));
    remove->setToolTip(tr("Remove %1").arg(name));
    connect(remove, &QPushButton::clicked, this, [this, id] { this->remove(id); });
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 2, 0, 2);
    layout->addLayout(words, 1);
    layout->addWidget(remove);
    return row;
}

void ProjectsEditor::remove(const QUuid& id)
{
    Profile profile = m_preferences.profile();
    profile.projects.removeIf([&id](const Project& project) { return project.id == id; });
    m_preferences.setProfile(profile);
}

void ProjectsEditor::add()
{
    if (m_name->text().trimmed().isEmpty())
        return;
    Profile profile = m_preferences.profile();
    profile.projects.append(Project {QUuid::createUuid(), m_name->text(), m_aliases->text()});
    m_preferences.setProfile(profile);
    m_name->clear();
    m_aliases->clear();
}
