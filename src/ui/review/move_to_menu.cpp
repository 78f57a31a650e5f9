#include "move_to_menu.h"

#include <QDir>
#include <QFileDialog>

using namespace Qt::Literals::StringLiterals;

namespace {

bool inside(const QString& base, const QString& path)
{
    const QString relative = QDir(base).relativeFilePath(path);
    return !relative.startsWith(u"..") && !QDir::isAbsolutePath(relative);
}

} // namespace

MoveToMenu::MoveToMenu(const DestinationChoices& choices, const QSet<QString>& movedByPlan, QWidget* parent)
    : QMenu(tr("Move to\u2026"), parent)
    , m_homeBase(choices.homeBase())
{
    setAccessibleName(tr("Move to"));
    fill(this, choices.choices(movedByPlan));
    addSeparator();
    QAction* picker = addAction(tr("Choose folder\u2026"));
    connect(picker, &QAction::triggered, this, [this] { m_wantsPicker = true; });
}

void MoveToMenu::fill(QMenu* menu, const QList<DestinationChoices::Choice>& choices)
{
    for (const DestinationChoices::Choice& choice : choices) {
        if (choice.startsSection)
            menu->addSeparator();
        if (!choice.subs.isEmpty()) {
            QMenu* sub = menu->addMenu(choice.label);
            sub->setAccessibleName(choice.label);
            fill(sub, choice.subs);
            continue;
        }
        QAction* action = menu->addAction(choice.label);
        connect(action, &QAction::triggered, this, [this, folder = choice.folder] { m_pick = {true, folder}; });
    }
}

MoveToMenu::Pick MoveToMenu::resolve()
{
    if (!m_wantsPicker)
        return m_pick;
    m_wantsPicker = false;
    const std::optional<QString> folder = chooseFolder(m_homeBase, parentWidget());
    return folder ? Pick {true, folder} : Pick {};
}

MoveToMenu::Pick MoveToMenu::ask(const DestinationChoices& choices,
                                 const QSet<QString>& movedByPlan,
                                 QWidget* parent,
                                 const QPoint& globalPos)
{
    MoveToMenu menu(choices, movedByPlan, parent);
    menu.exec(globalPos);
    return menu.resolve();
}

std::optional<QString> MoveToMenu::chooseFolder(const QString& homeBase, QWidget* parent)
{
    if (homeBase.isEmpty())
        return std::nullopt;
    // Qt's own dialog: the desktop's cannot be kept inside one folder.
    QFileDialog dialog(parent, tr("Choose folder"), homeBase);
    dialog.setObjectName(u"chooseFolder"_s);
    dialog.setAccessibleName(tr("Choose folder"));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOptions(QFileDialog::ShowDirsOnly | QFileDialog::DontUseNativeDialog);
    dialog.setLabelText(QFileDialog::Accept, tr("Move here"));
    connect(&dialog, &QFileDialog::directoryEntered, &dialog, [&dialog, homeBase](const QString& folder) {
        if (!inside(homeBase, folder))
            dialog.setDirectory(homeBase);
    });
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    const QString chosen = dialog.selectedFiles().first();
    if (!inside(homeBase, chosen))
        return std::nullopt;
    const QString relative = QDir(homeBase).relativeFilePath(chosen);
    if (relative.isEmpty() || relative == u".")
        return std::nullopt;
    return relative;
}
