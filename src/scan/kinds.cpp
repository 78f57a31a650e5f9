#include "kinds.h"

using namespace Qt::Literals::StringLiterals;

namespace Kinds {

namespace {

struct Row
{
    FileKind kind;
    QStringView words;
};

// Order matters only in principle: were a word in two rows, the later row would win.
constexpr Row kRows[] = {
    {FileKind::pdf, u"pdf"},
    {FileKind::image, u"jpg jpeg png gif heic heif webp tif tiff bmp svg ico avif raw cr2 cr3 nef arw dng"},
    {FileKind::video, u"mov mp4 m4v avi mkv webm wmv flv mts m2ts 3gp"},
    {FileKind::audio, u"mp3 wav aiff aif m4a flac aac ogg caf"},
    {FileKind::design,
     u"psd psb ai indd sketch fig xd afdesign afphoto afpub eps aep aepx prproj drp blend c4d obj fbx glb gltf stl "
     u"procreate xcf kra clip lottie"},
    {FileKind::doc, u"doc docx pages rtf rtfd odt txt md markdown epub"},
    {FileKind::sheet, u"xls xlsx numbers csv tsv ods"},
    {FileKind::slides, u"ppt pptx key odp"},
    // Disk images hold a whole file system, so they sit with the archives; unlike the archives
    // above, nobody unpacks them into a folder beside them.
    {FileKind::archive, u"zip rar 7z tar gz tgz bz2 xz img qcow2"},
    // Packages for this computer and, downloaded for another one, for Windows. An AppImage is the
    // program itself: it counts as a leftover installer only in Downloads (see Scanner::hints).
    {FileKind::installer, u"dmg pkg mpkg iso deb rpm flatpakref flatpak snap run msi exe appimage"},
    // Launchers, Python wheels and Java archives are code in all but name.
    {FileKind::code,
     u"py js ts tsx jsx html htm css json sol rs go java swift kt c cpp h sh yml yaml toml ipynb desktop whl jar"},
    {FileKind::font, u"ttf otf woff woff2"},
    {FileKind::partial, u"crdownload part download partial tmp"},
    // Known, but no kind fits: a torrent is neither the download it names nor an archive of it.
    {FileKind::other, u"torrent"},
};

constexpr QStringView kBundleExtensions
    = u"app photoslibrary photolibrary fcpbundle imovielibrary logicx band musiclibrary tvlibrary aplibrary lrdata "
      u"lrlibrary xcodeproj xcworkspace bundle framework rtfd pages key numbers sketch fcpxld dvdmedia prproj aep";

} // namespace

const QHash<QString, FileKind>& map()
{
    // A function-local static is initialised exactly once, even with many scanning threads.
    static const QHash<QString, FileKind> table = [] {
        QHash<QString, FileKind> result;
        for (const Row& row : kRows) {
            for (QStringView word : row.words.split(u' ', Qt::SkipEmptyParts))
                result.insert(word.toString(), row.kind);
        }
        return result;
    }();
    return table;
}

const QSet<QString>& bundleExtensions()
{
    static const QSet<QString> table = [] {
        QSet<QString> result;
        for (QStringView word : kBundleExtensions.split(u' ', Qt::SkipEmptyParts))
            result.insert(word.toString());
        return result;
    }();
    return table;
}

const QSet<FileKind>& hardProtected()
{
    static const QSet<FileKind> table {FileKind::pdf,
                                       FileKind::video,
                                       FileKind::design,
                                       FileKind::doc,
                                       FileKind::sheet,
                                       FileKind::slides,
                                       FileKind::font,
                                       FileKind::bundle,
                                       FileKind::project,
                                       FileKind::folder};
    return table;
}

QString extension(const QString& path)
{
    const QStringView name = QStringView(path).sliced(path.lastIndexOf(u'/') + 1);
    const qsizetype dot = name.lastIndexOf(u'.');
    // A leading dot marks a hidden name, not an extension: ".profile" has none.
    if (dot <= 0)
        return {};
    return name.sliced(dot + 1).toString().toLower();
}

FileKind kind(const QString& path, bool isDir)
{
    const QString ext = extension(path);
    if (!isDir)
        return map().value(ext, FileKind::other);
    if (!bundleExtensions().contains(ext))
        return FileKind::project;
    switch (map().value(ext, FileKind::other)) {
        case FileKind::doc:
        case FileKind::sheet:
        case FileKind::slides:
        case FileKind::design:
            return map().value(ext);
        default:
            return FileKind::bundle;
    }
}

} // namespace Kinds
