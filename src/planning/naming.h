#pragma once

#include <QString>

#include <optional>

// Rules for file names proposed by the model.
namespace Naming {

// Camera, screenshot and download defaults that say nothing about the file ("IMG_4032.HEIC",
// "download (3).pdf", "Untitled design.png").
bool isMeaningless(const QString& name);

// A proposed name (without extension) made safe as a file name and given the extension `ext`
// (which may be empty). Nothing when no usable name is left.
std::optional<QString> sanitize(const QString& name, const QString& ext);

constexpr int kMaxStemCharacters = 120;

} // namespace Naming
