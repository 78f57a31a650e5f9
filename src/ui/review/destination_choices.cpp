#include "destination_choices.h"

#include "controller/preferences.h"

#include <QDir>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

const QString DestinationChoices::kNeedsYouFolder = u"Brindlow Review/Needs You"_s;
const QString DestinationChoices::kArchiveFolder = u"Archive"_s;

namespace {

QStringList topFolders(const QString& homeBase)
{
    if (homeBase.isEmpty())
        return {};
    QStringList names = QDir(homeBase).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks, QDir::Name);
    // Offered already, or ours to manage.
    names.removeIf([](const QString& name) {
        return name == u"Projects" || name == u"Archive" || name == u"Brindlow Review" || name.startsWith(u'.');
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
                        {tr("Needs You folder"), kNeedsYouFolder, false},
                        {tr("Archive"), kArchiveFolder, false}};
    bool first = true;
    for (const Project& project : m_preferences.profile().projects) {
        list.append({project.displayName(), u"Projects/"_s + project.folderPath(), first});
        first = false;
    }
    first = true;
    for (const QString& folder : m_topFolders) {
        list.append({folder, folder, first});
        first = false;
    }
    return list;
}
