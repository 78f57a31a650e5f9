#include "home_tree.h"

using namespace Qt::Literals::StringLiterals;

namespace HomeTree {

namespace {

// The companion program's own folder.
QString companion()
{
    return u"Quillmere"_s;
}

} // namespace

QString appFolder()
{
    return u"Brindlow App"_s;
}

QString projects()
{
    return u"Projects"_s;
}

QString creator()
{
    return u"Creator"_s;
}

QString personal()
{
    return u"Personal"_s;
}

QString library()
{
    return u"Library"_s;
}

QString workAdmin()
{
    return u"Work Admin"_s;
}

QString archive()
{
    return u"Archive"_s;
}

QString archiveOf(int year)
{
    return archive() + u'/' + QString::number(year).rightJustified(4, u'0');
}

QString review()
{
    return u"Brindlow Review"_s;
}

QString needsYou()
{
    return review() + u"/Needs You"_s;
}

QString duplicates()
{
    return review() + u"/Duplicates - Review First"_s;
}

QString toDelete()
{
    return review() + u"/To Delete - Review First"_s;
}

QString screenshotsAndImages()
{
    return u"Screenshots & images"_s;
}

QString unfinishedDownloads()
{
    return u"Unfinished downloads"_s;
}

QString emptyFiles()
{
    return u"Empty files"_s;
}

QString installers()
{
    return u"Installers"_s;
}

QString alreadyUnzipped()
{
    return u"Already unzipped"_s;
}

const QStringList& projectSubs()
{
    static const QStringList list {
        u"Images"_s, u"Video"_s, u"Docs"_s, u"Design"_s, u"Audio"_s, u"Brand Assets"_s, u"Code"_s, u"Other"_s};
    return list;
}

const QStringList& creatorSubs()
{
    static const QStringList list {u"Thumbnails"_s,
                                   u"Overlays & Branding"_s,
                                   u"Banners"_s,
                                   u"Clips & Edits"_s,
                                   u"Raw Footage"_s,
                                   u"Audio"_s,
                                   u"Other"_s};
    return list;
}

const QStringList& personalSubs()
{
    static const QStringList list {u"Finance & Receipts"_s,
                                   u"Documents"_s,
                                   u"Photos"_s,
                                   u"Health"_s,
                                   u"Home"_s,
                                   u"Travel"_s,
                                   u"Music"_s,
                                   u"Other"_s};
    return list;
}

const QStringList& librarySubs()
{
    static const QStringList list {u"Logos & Brand Marks"_s,
                                   u"Mockups & UI"_s,
                                   u"Saved Web Pages"_s,
                                   u"Print & Production"_s,
                                   u"Reference & Inspiration"_s,
                                   u"Memes"_s,
                                   u"Screenshots"_s,
                                   u"Fonts"_s,
                                   u"3D & Assets"_s,
                                   u"Audio"_s,
                                   u"After Effects Templates"_s,
                                   u"Design Layers"_s,
                                   u"Transitions & Presets"_s,
                                   u"Other"_s};
    return list;
}

QString other()
{
    return u"Other"_s;
}

QString kindFolder(FileKind kind)
{
    switch (kind) {
        case FileKind::pdf:
        case FileKind::doc:
        case FileKind::sheet:
        case FileKind::slides:
            return u"Docs"_s;
        case FileKind::image:
            return u"Images"_s;
        case FileKind::video:
            return u"Video"_s;
        case FileKind::audio:
            return u"Audio"_s;
        case FileKind::design:
        case FileKind::font:
            return u"Design"_s;
        case FileKind::code:
        case FileKind::project:
            return u"Code"_s;
        case FileKind::folder:
            return u"Folders"_s;
        default:
            return other();
    }
}

const QStringList& excludedFromScan()
{
    static const QStringList list {
        projects(), creator(), personal(), workAdmin(), archive(), review(), companion(), appFolder()};
    return list;
}

const QStringList& ownFolders()
{
    static const QStringList list {appFolder(), companion(), review()};
    return list;
}

} // namespace HomeTree
