#pragma once

#include "file_kind.h"

#include <QString>
#include <QStringList>

// The folders this program makes under the home base, and the ones a scan keeps out of. These
// names are folders on the person's disk: one renamed here strands everything filed under the
// old name. Paths are relative to the home base, with "/" between their components.
namespace HomeTree {

// The program's own folder in the home's Documents, where another tool may leave a plan to import.
QString appFolder();

QString projects();
QString creator();
QString personal();
QString library();
QString workAdmin();
QString archive();
// An archive folder per year ("Archive/2021").
QString archiveOf(int year);

// What the person looks at before anything is gone for good: items the program could not place,
// exact copies, and what it takes for junk.
QString review();
QString needsYou();
QString duplicates();
QString toDelete();
// The folders inside `toDelete()` for junk the model named no folder for, and for the rules' junk.
QString screenshotsAndImages();
QString unfinishedDownloads();
QString emptyFiles();
QString installers();
QString alreadyUnzipped();

// The sub-folders the model is offered for each category, in the order it is shown them.
const QStringList& projectSubs();
const QStringList& creatorSubs();
const QStringList& personalSubs();
const QStringList& librarySubs();
// Where an item goes inside its category when nothing better fits.
QString other();
// The sub-folder of a project for an item of this kind ("Images", "Docs", "Folders", ...).
QString kindFolder(FileKind kind);

// Folders directly in the home base that a scan never takes items from: what is already filed,
// and the folders of this program and its companion.
const QStringList& excludedFromScan();
// The folders of this program and its companion, skipped wherever a scan meets them.
const QStringList& ownFolders();

} // namespace HomeTree
