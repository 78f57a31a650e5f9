#include "kind_sorting.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace KindSorting {

namespace {

#define LABEL(text) QT_TRANSLATE_NOOP("KindSorting", text)

constexpr const char* kStays = nullptr;
constexpr const char* kUnknown = "";

// Only folders the model is offered too, so a person who later turns a model on finds the same
// tree. Nothing here ever lands in the junk folders: without a model only the rules call
// something junk.
const QList<Row> kRows {
    {FileKind::image, Match::screenshotName, {}, Category::library, u"Screenshots", LABEL("Screenshot")},
    {FileKind::video, Match::screenshotName, {}, Category::library, u"Screenshots", LABEL("Screen recording")},
    {FileKind::image,
     Match::extension,
     u"heic heif raw cr2 cr3 nef arw dng",
     Category::personal,
     u"Photos",
     LABEL("Photo from a camera or phone")},
    {FileKind::image, Match::cameraName, {}, Category::personal, u"Photos", LABEL("Photo from a camera or phone")},
    {FileKind::video, Match::cameraName, {}, Category::personal, u"Photos", LABEL("Video from a camera or phone")},
    {FileKind::image, Match::any, {}, Category::library, u"Reference & Inspiration", LABEL("Image")},
    {FileKind::video, Match::any, {}, Category::creator, u"Clips & Edits", LABEL("Video")},
    {FileKind::font, Match::any, {}, Category::library, u"Fonts", LABEL("Font")},
    {FileKind::code, Match::extension, u"html htm", Category::library, u"Saved Web Pages", LABEL("Saved web page")},
    {FileKind::other,
     Match::extension,
     u"mhtml mht webarchive maff",
     Category::library,
     u"Saved Web Pages",
     LABEL("Saved web page")},
    {FileKind::design,
     Match::extension,
     u"blend c4d obj fbx glb gltf stl",
     Category::library,
     u"3D & Assets",
     LABEL("3D file")},
    {FileKind::design, Match::extension, u"indd afpub", Category::library, u"Print & Production", LABEL("Page layout")},
    {FileKind::design,
     Match::extension,
     u"aep aepx",
     Category::library,
     u"After Effects Templates",
     LABEL("Motion graphics project")},
    {FileKind::design,
     Match::extension,
     u"prproj drp",
     Category::creator,
     u"Clips & Edits",
     LABEL("Video edit project")},
    {FileKind::design, Match::extension, u"lottie", Category::library, u"Transitions & Presets", LABEL("Animation")},
    {FileKind::design, Match::any, {}, Category::library, u"Design Layers", LABEL("Layered design file")},
    {FileKind::audio, Match::extension, u"wav aif aiff caf", Category::library, u"Audio", LABEL("Sound recording")},
    {FileKind::audio, Match::any, {}, Category::personal, u"Music", LABEL("Music")},
    {FileKind::pdf, Match::any, {}, Category::personal, u"Documents", LABEL("PDF document")},
    {FileKind::doc, Match::any, {}, Category::personal, u"Documents", LABEL("Text document")},
    {FileKind::sheet, Match::any, {}, Category::personal, u"Documents", LABEL("Spreadsheet")},
    {FileKind::slides, Match::any, {}, Category::personal, u"Documents", LABEL("Presentation")},
    {FileKind::archive, Match::extension, u"img qcow2", Category::archive, {}, LABEL("Disk image")},
    {FileKind::archive, Match::any, {}, Category::archive, {}, LABEL("Archive")},
    // Kept because the person keeps installers; one without the hint is a program run from
    // where it is, and moving it would break whatever starts it.
    {FileKind::installer, Match::installerHint, {}, Category::library, u"Other", LABEL("App installer")},
    {FileKind::installer, Match::any, {}, Category::needsYou, {}, kStays},
    // A launcher on the desktop only works where it is.
    {FileKind::code, Match::extension, u"desktop", Category::needsYou, {}, kStays},
    {FileKind::code, Match::any, {}, Category::needsYou, {}, kUnknown},
    {FileKind::bundle, Match::any, {}, Category::needsYou, {}, kStays},
    {FileKind::project, Match::any, {}, Category::needsYou, {}, kStays},
    {FileKind::partial, Match::any, {}, Category::needsYou, {}, kUnknown},
    {FileKind::folder, Match::any, {}, Category::needsYou, {}, kUnknown},
    {FileKind::other, Match::any, {}, Category::needsYou, {}, kUnknown},
};

#undef LABEL

bool hasExtension(QStringView list, const QString& ext)
{
    if (ext.isEmpty())
        return false;
    for (QStringView word : list.split(u' ', Qt::SkipEmptyParts)) {
        if (word == ext)
            return true;
    }
    return false;
}

bool takes(const Row& row, const ScannedItem& item)
{
    if (row.kind != item.kind)
        return false;
    switch (row.match) {
        case Match::any:
            return true;
        case Match::extension:
            return hasExtension(row.extensions, item.ext);
        case Match::screenshotName:
            return item.junkHints.contains(JunkHint::screenshotName);
        case Match::cameraName:
            return isCameraName(item.name);
        case Match::installerHint:
            return item.junkHints.contains(JunkHint::installer);
    }
    return false;
}

} // namespace

const QList<Row>& rows()
{
    return kRows;
}

QString unknownReason()
{
    return QCoreApplication::translate("KindSorting", "Brindlow couldn't tell what this is without a model.");
}

bool isCameraName(const QString& name)
{
    // Phones and cameras number their files ("IMG_4032", "DSC-0012", "PXL_2024...", "VID_...",
    // "GOPR0042", "MVIMG_...") or stamp them with the moment ("20240501_101010").
    static const QRegularExpression pattern(u"^((img|dsc[nf]?|pxl|vid|mvimg|gopr|gh\\d\\d|gx\\d\\d)[_-]?\\d"_s
                                            u"|\\d{8}_\\d{6})"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    return pattern.match(name).hasMatch();
}

std::optional<Decision> decide(const ScannedItem& item)
{
    const auto found = std::find_if(kRows.cbegin(), kRows.cend(), [&item](const Row& row) { return takes(row, item); });
    if (found != kRows.cend() && found->label == kStays)
        return std::nullopt;
    Decision decision {Category::needsYou,
                       std::nullopt,
                       Confidence::medium,
                       std::nullopt,
                       unknownReason(),
                       std::nullopt,
                       Provenance::kindTable};
    if (found == kRows.cend() || found->category == Category::needsYou)
        return decision;
    decision.category = Category(found->category);
    if (!found->sub.isEmpty())
        decision.sub = found->sub.toString();
    const QString kind = QCoreApplication::translate("KindSorting", found->label);
    decision.reason = QCoreApplication::translate("KindSorting", "Sorted by kind: %1").arg(kind);
    return decision;
}

} // namespace KindSorting
