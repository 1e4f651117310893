// DVFolders: where the library may keep files.
#pragma once

#include <QString>

namespace DVFolders {

// The folder that plays the documents directory: on sandboxed mobile systems the documents
// folder, elsewhere the application's own data folder. Empty when the platform has none,
// and behind the end of the process's static objects, where Qt cannot tell any more.
QString documents();
QString caches();

// documents() plus "Dorvane": every file of the library lives here. The folder need not exist yet.
QString dorvaneFiles();

// Replaces documents(), and caches() by "Caches" in it, for tests and the command-line tool; an empty
// path restores the platform's. Thread-safe.
void setDocuments(const QString &path);

// Creates `path` and missing parents. What it creates gets mode 0700. Returns whether the folder exists.
bool makePrivateFolder(const QString &path);

} // namespace DVFolders
