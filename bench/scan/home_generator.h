#pragma once

#include <QString>

// Builds a realistic home for the scan benchmark: Desktop, Downloads and Documents with photos,
// screenshots, PDFs with text, office documents, code, archives, installers, folders, a few very
// large files and thousands of same-size files of which some are true duplicates.
namespace HomeGenerator {

struct Summary
{
    qint64 items = 0;
    qint64 bytes = 0;
    qint64 duplicateSets = 0;
};

// Deterministic for a given item count; needs a QGuiApplication (PDFs are drawn).
Summary generate(const QString& home, int items);

} // namespace HomeGenerator
