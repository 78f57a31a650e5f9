#include "profile.h"

#include "iso_date.h"
#include "json_fields.h"
#include "user_folders.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

using namespace Qt::Literals::StringLiterals;

namespace {

// The desktop's name for one of its standard folders. A folder the desktop switched off keeps
// its English name: the scan folders never hold the home itself.
QString standardFolder(const QString& home, UserFolders::Folder folder, const QString& english)
{
    return UserFolders::name(home, folder).value_or(english);
}

const std::pair<SortWith, QLatin1StringView> kSortWithNames[] = {
    {SortWith::claude, "claude"_L1},
    {SortWith::ownServer, "server"_L1},
    {SortWith::noModel, "none"_L1},
};

QString sortWithName(SortWith sortWith)
{
    for (const auto& [value, name] : kSortWithNames) {
        if (value == sortWith)
            return name;
    }
    return u"claude"_s;
}

SortWith sortWithNamed(const QString& name)
{
    for (const auto& [value, known] : kSortWithNames) {
        if (known == name)
            return value;
    }
    return SortWith::claude;
}

} // namespace

bool Profile::careful() const
{
    return model == kCarefulModel;
}

QString Profile::sortingModel() const
{
    return sortWith == SortWith::ownServer ? server.modelFor(careful()) : model;
}

Profile Profile::defaults(const QString& home)
{
    Profile profile;
    const QString documents = standardFolder(home, UserFolders::Folder::documents, u"Documents"_s);
    profile.homeBase = home + u'/' + documents;
    profile.scanFolders = {standardFolder(home, UserFolders::Folder::desktop, u"Desktop"_s),
                           standardFolder(home, UserFolders::Folder::downloads, u"Downloads"_s),
                           documents};
    profile.model = kFastModel.toString();
    return profile;
}

Profile Profile::defaults()
{
    return defaults(QDir::homePath());
}

bool Profile::isUsableHomeBase(const QString& path, const QString& home)
{
    if (path.isEmpty() || !QDir::isAbsolutePath(path) || home.isEmpty())
        return false;
    // Lexical on purpose: a Documents folder that is a link to another disk is still the
    // person's own choice, while ".." pieces that climb out are not.
    const QString clean = QDir::cleanPath(path);
    const QString root = QDir::cleanPath(home);
    const bool inside = clean.startsWith(root == u"/" ? root : root + u'/') && clean != root;
    const QFileInfo info(clean);
    return inside && (!info.exists() || info.isDir());
}

QJsonObject Profile::toJson() const
{
    QJsonArray projectArray;
    for (const Project& project : projects)
        projectArray.append(project.toJson());
    QJsonObject object {
        {"onboarded"_L1, onboarded},
        {"projects"_L1, projectArray},
        {"renameFiles"_L1, renameFiles},
        {"keepInstallers"_L1, keepInstallers},
        {"autoTidy"_L1, autoTidy},
        {"homeBase"_L1, homeBase},
        {"scanFolders"_L1, QJsonArray::fromStringList(scanFolders)},
        {"model"_L1, model},
        {"sortWith"_L1, sortWithName(sortWith)},
    };
    if (sortWith == SortWith::ownServer || !server.address.isEmpty())
        object.insert("server"_L1, server.toJson());
    if (lastRun)
        object.insert("lastRun"_L1, IsoDate::format(*lastRun));
    return object;
}

std::optional<Profile> Profile::fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    JsonFields fields(value.toObject());
    Profile profile;
    profile.onboarded = fields.boolean("onboarded"_L1);
    for (const QJsonValue& entry : fields.array("projects"_L1)) {
        const std::optional<Project> project = Project::fromJson(entry);
        if (!project)
            return std::nullopt;
        profile.projects.append(*project);
    }
    profile.renameFiles = fields.boolean("renameFiles"_L1);
    profile.keepInstallers = fields.boolean("keepInstallers"_L1);
    profile.autoTidy = fields.boolean("autoTidy"_L1);
    profile.homeBase = fields.text("homeBase"_L1);
    for (const QJsonValue& entry : fields.array("scanFolders"_L1)) {
        if (!entry.isString())
            return std::nullopt;
        profile.scanFolders.append(entry.toString());
    }
    profile.model = fields.text("model"_L1);
    // Absent in a profile written before the choice existed: Claude, as it was.
    profile.sortWith = sortWithNamed(value.toObject().value("sortWith"_L1).toString());
    profile.server = ModelServer::fromJson(value.toObject().value("server"_L1)).value_or(ModelServer {});
    profile.lastRun = fields.optionalDate("lastRun"_L1);
    if (!fields.ok())
        return std::nullopt;
    return profile;
}
