#include "file_kind.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr std::array kRawTexts = {
    u"pdf",
    u"image",
    u"video",
    u"audio",
    u"design",
    u"doc",
    u"sheet",
    u"slides",
    u"archive",
    u"installer",
    u"code",
    u"font",
    u"partial",
    u"bundle",
    u"project",
    u"folder",
    u"other",
};
static_assert(kRawTexts.size() == static_cast<size_t>(FileKind::other) + 1);
} // namespace

QString rawValue(FileKind kind)
{
    return QString::fromUtf16(kRawTexts.at(static_cast<size_t>(kind)));
}

std::optional<FileKind> fileKindFromRaw(QStringView raw)
{
    for (size_t i = 0; i < kRawTexts.size(); ++i) {
        if (raw == QStringView(kRawTexts[i]))
            return static_cast<FileKind>(i);
    }
    return std::nullopt;
}
