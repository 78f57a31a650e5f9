#pragma once

#include <QHashFunctions>
#include <QString>

#include <optional>

// What sort of item a scanned entry is. The raw text doubles as the JSON form, so the
// spelling of every case is part of the stored plan format.
enum class FileKind {
    pdf,
    image,
    video,
    audio,
    design,
    doc,
    sheet,
    slides,
    archive,
    installer,
    code,
    font,
    partial,
    bundle,
    project,
    folder,
    other,
};

QString rawValue(FileKind kind);
std::optional<FileKind> fileKindFromRaw(QStringView raw);

inline size_t qHash(FileKind kind, size_t seed = 0) noexcept
{
    return qHash(static_cast<int>(kind), seed);
}
