// DVEditedFile: the files of strings that somebody edited on this device.
#pragma once

#include "DVString.h"

#include <Dorvane/DVLocale.h>

#include <QString>

namespace DVEditedFile {

enum class Result {
    Missing,  // no file at the path
    Read,     // possibly without strings
    Unread,   // the device would not give it; the file stays
    SetAside, // it does not parse; what it holds is kept under damagedPath(), which nothing reads
};

// Adds the file's strings to `strings`; a key that is there already stays as it is. Texts carry markers when
// lookups need them.
Result read(const QString &path, DVStringGroups *strings);

// The strings without forms that nobody has translated: a string that the locale did not have is edited as a
// copy of the base locale's, and the base locale's texts are no translations. Records are shared.
DVStringGroups translated(const DVStringGroups &strings);

QString damagedPath(const QString &path);
// Moves a file to its damagedPath(), over what was there. Returns whether the path is free now.
bool setAside(const QString &path);

// Deletes a file where it exists. A failure is logged.
void remove(const QString &path);

// Deletes what somebody's work left in the folder of the library's files, of all locales and versions.
void removeAll();

} // namespace DVEditedFile
