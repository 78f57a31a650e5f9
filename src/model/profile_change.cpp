#include "profile_change.h"

ProfileChange ProfileChange::between(const Profile& before, const Profile& after)
{
    ProfileChange change;
    change.m_before = before;
    change.m_after = after;
    return change;
}

bool ProfileChange::isEmpty() const
{
    return m_before == m_after;
}

namespace {

void applyFolders(const QStringList& before, const QStringList& after, QStringList& stored)
{
    for (const QString& folder : before) {
        if (!after.contains(folder))
            stored.removeAll(folder);
    }
    for (const QString& folder : after) {
        if (!before.contains(folder) && !stored.contains(folder))
            stored.append(folder);
    }
}

void applyProjects(const QList<Project>& before, const QList<Project>& after, QList<Project>& stored)
{
    const auto find = [](const QList<Project>& list, const QUuid& id) {
        return std::find_if(list.cbegin(), list.cend(), [&id](const Project& p) { return p.id == id; });
    };
    for (const Project& project : before) {
        if (find(after, project.id) == after.cend())
            stored.removeIf([&project](const Project& p) { return p.id == project.id; });
    }
    for (const Project& project : after) {
        const auto seen = find(before, project.id);
        if (seen != before.cend() && *seen == project)
            continue;
        const auto there
            = std::find_if(stored.begin(), stored.end(), [&project](const Project& p) { return p.id == project.id; });
        // Two processes adding the same project at once make it once.
        const bool named = std::any_of(stored.cbegin(), stored.cend(), [&project](const Project& p) {
            return p.name.compare(project.name, Qt::CaseInsensitive) == 0;
        });
        if (there != stored.end())
            *there = project;
        else if (seen != before.cend() || !named)
            stored.append(project);
    }
}

} // namespace

void ProfileChange::applyTo(Profile& profile) const
{
    const auto take = [&](auto Profile::*field) {
        if (m_before.*field != m_after.*field)
            profile.*field = m_after.*field;
    };
    take(&Profile::onboarded);
    take(&Profile::renameFiles);
    take(&Profile::keepInstallers);
    take(&Profile::autoTidy);
    take(&Profile::homeBase);
    take(&Profile::model);
    take(&Profile::sortWith);
    take(&Profile::server);
    take(&Profile::lastRun);
    applyFolders(m_before.scanFolders, m_after.scanFolders, profile.scanFolders);
    applyProjects(m_before.projects, m_after.projects, profile.projects);
}
