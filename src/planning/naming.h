#pragma once

#include <QString>

#include <optional>

// Rules for file and folder names proposed by the model.
namespace Naming {

// Camera, screenshot and download defaults that say nothing about the file ("IMG_4032.HEIC",
// "download (3).pdf", "Untitled design.png").
bool isMeaningless(const QString& name);

// A proposed name (without extension) made safe as a file name and given the extension `ext`
// (which may be empty). Nothing when no usable name is left.
std::optional<QString> sanitize(const QString& name, const QString& ext);

// A folder name taken from the model's reply or a project's name, made safe as exactly one
// folder: no separators, no control characters, no leading dots (so never "." or ".."), and
// short enough for the file system. Nothing when no usable name is left.
std::optional<QString> folderName(const QString& name);

// Marks that reorder the text around them (right-to-left overrides, isolates): in a name they
// can make "exe.pdf" read as "fdp.exe".
bool isBidiControl(char16_t c);

constexpr int kMaxStemCharacters = 120;
// The longest name a Linux file system accepts, in bytes of its on-disk encoding.
constexpr int kMaxNameBytes = 255;

} // namespace Naming
