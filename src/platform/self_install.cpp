#include "self_install.h"

#include "staged_file.h"
#include "trash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <sys/stat.h>
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

constexpr mode_t kReadable = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
constexpr mode_t kExecutable = kReadable | S_IXUSR | S_IXGRP | S_IXOTH;

std::optional<StagedFile> stageBytes(const QString& path, const QByteArray& bytes)
{
    StagedFile file(path, kReadable);
    return file.write(bytes) && file.finish() ? std::optional(std::move(file)) : std::nullopt;
}

std::optional<StagedFile> stageProgram(const QString& from, const QString& to)
{
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return std::nullopt;
    StagedFile file(to, kExecutable);
    constexpr qint64 kChunk = 1 << 20;
    while (file.isOpen() && !source.atEnd()) {
        const QByteArray chunk = source.read(kChunk);
        if (chunk.isEmpty() || !file.write(chunk))
            return std::nullopt;
    }
    if (source.error() != QFileDevice::NoError || !file.finish())
        return std::nullopt;
    return file;
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
    std::vector<StagedFile> staged;
    const auto add = [&staged](std::optional<StagedFile> file) {
        if (file)
            staged.push_back(std::move(*file));
        return file.has_value();
    };
    for (const auto& [from, to] : programs(places)) {
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
    for (StagedFile& file : staged) {
        if (!file.place())
            return std::nullopt;
    }
    return program;
}

void trashDownloadedCopy(const Places& places)
{
    const QString downloads = resolved(places.downloads);
    // With Downloads set to the home folder, everything the person keeps would count as downloaded.
    if (places.downloads.isEmpty() || downloads == resolved(places.home)
        || resolved(QFileInfo(places.program).absolutePath()) != downloads)
        return;
    // A file written since under the same name may even have the same inode number; not its times.
    const FileIdentity now = FileIdentity::ofEntry(places.program);
    const FileIdentity& started = places.started;
    if (now.isRegular() && now.device == started.device && now.inode == started.inode
        && now.modifiedNs == started.modifiedNs && now.changedNs == started.changedNs)
        Trash::move(places.program);
}

} // namespace SelfInstall
