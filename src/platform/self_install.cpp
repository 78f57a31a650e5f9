#include "self_install.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace SelfInstall {

namespace {

const QString kAppId = u"org.brindlow.Brindlow"_s;
const QString kCliName = u"brindlow-cli"_s;

QString resolved(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(path) : canonical;
}

bool isInside(const QString& path, const QString& folder)
{
    if (folder.isEmpty())
        return false;
    const QString root = resolved(folder);
    return root != u"/" && path.startsWith(root + u'/');
}

// Qt keeps the trash in the data folder; were that folder missing, it would make a trash of
// "files" and "info" in the working directory instead.
bool moveToTrash(const QString& path)
{
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    return QFile::moveToTrash(path);
}

QString binFolder(const QString& home)
{
    return home + u"/.local/bin"_s;
}

// The programs to install, from where they are to where they go.
QList<std::pair<QString, QString>> programs(const Places& places)
{
    QList<std::pair<QString, QString>> list {{places.program, installedProgram(places.home)}};
    const QString cli = QFileInfo(places.program).absolutePath() + u'/' + kCliName;
    if (QFileInfo(cli).isFile())
        list.append({cli, binFolder(places.home) + u'/' + kCliName});
    return list;
}

// Desktop entries quote arguments with reserved characters and escape backslashes once more for
// the value itself; a percent sign would otherwise be read as a field code.
QString execValue(const QString& program)
{
    static const QString reserved = u" \t\n\"'\\><~|&;$*?#()`"_s;
    QString value = program;
    value.replace(u'%', u"%%"_s);
    if (std::any_of(program.begin(), program.end(), [](QChar c) { return reserved.contains(c); })) {
        QString quoted;
        for (const QChar c : std::as_const(value)) {
            if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
                quoted += u'\\';
            quoted += c;
        }
        value = u'"' + quoted + u'"';
    }
    return value.replace(u'\\', u"\\\\"_s);
}

QByteArray desktopEntry(const QString& program)
{
    return (u"[Desktop Entry]\n"
            "Type=Application\n"
            "Name=Brindlow\n"
            "Exec="_s
            + execValue(program)
            + u"\n"
              "Icon="_s
            + kAppId
            + u"\n"
              "Terminal=false\n"
              "Categories=Utility;\n"
              "StartupNotify=false\n"_s)
        .toUtf8();
}

// A file of the installation, complete on disk but not yet in place.
using Staged = std::unique_ptr<QSaveFile>;

Staged stage(const QString& path)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return nullptr;
    auto file = std::make_unique<QSaveFile>(path);
    return file->open(QIODevice::WriteOnly) ? std::move(file) : nullptr;
}

Staged stageBytes(const QString& path, const QByteArray& bytes)
{
    Staged file = stage(path);
    // Flushed now, so that a full disk shows before anything old is moved away.
    return file && file->write(bytes) == bytes.size() && file->flush() ? std::move(file) : nullptr;
}

Staged stageProgram(const QString& from, const QString& to)
{
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return nullptr;
    Staged file = stage(to);
    if (!file)
        return nullptr;
    constexpr qint64 kChunk = 1 << 20;
    while (!source.atEnd()) {
        const QByteArray chunk = source.read(kChunk);
        if (chunk.isEmpty() || file->write(chunk) != chunk.size())
            return nullptr;
    }
    if (source.error() != QFileDevice::NoError || !file->flush())
        return nullptr;
    constexpr auto kExecutable = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
        | QFileDevice::ReadGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther | QFileDevice::ExeOther;
    return file->setPermissions(kExecutable) ? std::move(file) : nullptr;
}

} // namespace

bool isInstalled(const Places& places)
{
    const QString program = resolved(places.program);
    for (const QString& root : QStringList {places.installPrefix, u"/usr"_s, u"/opt"_s, places.home + u"/.local"_s}) {
        if (isInside(program, root))
            return true;
    }
    QDir folder = QFileInfo(program).dir();
    do {
        if (folder.exists(u"CMakeCache.txt"_s))
            return true;
    } while (folder.cdUp());
    return false;
}

QString installedProgram(const QString& home)
{
    return binFolder(home) + u"/brindlow"_s;
}

QString desktopEntryPath(const QString& home)
{
    return home + u"/.local/share/applications/"_s + kAppId + u".desktop"_s;
}

QString iconPath(const QString& home, int size)
{
    const QString box = QString::number(size) + u'x' + QString::number(size);
    return home + u"/.local/share/icons/hicolor/"_s + box + u"/apps/"_s + kAppId + u".png"_s;
}

std::optional<QString> install(const Places& places, const QList<Icon>& icons)
{
    // Everything is written beside its place first, so a full disk or an unwritable folder
    // leaves the person's files as they were.
    std::vector<Staged> staged;
    const auto add = [&staged](Staged file) {
        staged.push_back(std::move(file));
        return staged.back() != nullptr;
    };
    const auto toInstall = programs(places);
    for (const auto& [from, to] : toInstall) {
        if (!add(stageProgram(from, to)))
            return std::nullopt;
    }
    const QString program = installedProgram(places.home);
    if (!add(stageBytes(desktopEntryPath(places.home), desktopEntry(program))))
        return std::nullopt;
    for (const Icon& icon : icons) {
        if (!add(stageBytes(iconPath(places.home, icon.size), icon.png)))
            return std::nullopt;
    }

    for (const auto& [from, to] : toInstall) {
        const QFileInfo old(to);
        if ((old.exists() || old.isSymLink()) && !moveToTrash(to))
            return std::nullopt;
    }
    bool complete = true;
    for (const Staged& file : staged)
        complete = file->commit() && complete;
    return complete ? std::optional(program) : std::nullopt;
}

void trashDownloadedCopy(const Places& places)
{
    if (!isInside(resolved(places.program), places.downloads))
        return;
    for (const auto& [from, to] : programs(places))
        moveToTrash(from);
}

QStringList relaunchArguments(const QString& program)
{
    // Inside double quotes the shell still expands these four.
    QString quoted;
    for (const QChar c : program) {
        if (c == u'"' || c == u'\\' || c == u'$' || c == u'`')
            quoted += u'\\';
        quoted += c;
    }
    return {u"-c"_s, u"sleep 1; exec \""_s + quoted + u'"'};
}

} // namespace SelfInstall
