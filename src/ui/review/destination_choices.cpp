#include "destination_choices.h"

#include "controller/preferences.h"
#include "model/home_tree.h"

#include <QDir>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList topFolders(const QString& homeBase)
{
    if (homeBase.isEmpty())
        return {};
    QStringList names = QDir(homeBase).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks, QDir::Name);
    // Offered already, or ours to manage.
    names.removeIf([](const QString& name) {
        return name == HomeTree::projects() || name == HomeTree::archive() || name == HomeTree::review()
            || name.startsWith(u'.');
    });
    return names;
}

} // namespace

DestinationChoices::DestinationChoices(Preferences& preferences, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
{
    connect(&m_listing, &QFutureWatcher<QStringList>::finished, this, [this] {
        m_topFolders = m_listing.result();
        m_waiting = false;
        Q_EMIT changed();
    });
    connect(&preferences, &Preferences::profileChanged, this, &DestinationChoices::changed);
}

bool DestinationChoices::isListing() const
{
    return m_waiting;
}

void DestinationChoices::refresh()
{
    if (m_waiting)
        return;
    m_waiting = true;
    m_listing.setFuture(QtConcurrent::run(topFolders, m_preferences.profile().homeBase));
}

QList<DestinationChoices::Choice> DestinationChoices::choices() const
{
    QList<Choice> list {{tr("Leave where it is"), std::nullopt, false},
                        {tr("Needs You folder"), HomeTree::needsYou(), false},
                        {tr("Archive"), HomeTree::archive(), false}};
    bool first = true;
    for (const Project& project : m_preferences.profile().projects) {
        list.append({project.displayName(), HomeTree::projects() + u'/' + project.folderPath(), first});
        first = false;
    }
    first = true;
    for (const QString& folder : m_topFolders) {
        list.append({folder, folder, first});
        first = false;
    }
    return list;
}
