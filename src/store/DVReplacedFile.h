// DVReplacedFile: the strings file that a download replaced, kept until the new one has parsed once.
#pragma once

#include "DVTableFiles.h"

#include <Dorvane/DVLocale.h>

#include <QString>

namespace DVStoredDates {
inline constexpr QLatin1StringView lastDownload{"DVLastDownload"};
inline constexpr QLatin1StringView expiration{"DVExpiration"};
inline constexpr QLatin1StringView properties[] = {lastDownload, expiration};

// Key of one date in the user defaults: "<property>-<version>-<platform identifier>", of this version of the
// application or of another (as in file names).
QString key(const QString &property, const DVLocale &locale);
QString key(const QString &property, const QString &version, const DVLocale &locale);
} // namespace DVStoredDates

// The download (DVNetwork) keeps the replaced file beside the new one under dv_previousFilePath.
namespace DVReplacedFile {

// Key of the replaced file's dates in the user defaults, for a strings file of this name.
QString datesKey(const QString &fileName);

// The file of this identity has parsed: what it replaced goes, unless a download has replaced it since.
void forget(const QString &path, const DVFileIdentity &parsed);

// Remembers the replaced file's dates before new ones are stored, unless they are remembered
// already or nothing is kept for the path.
void keepDates(const QString &path, const DVLocale &locale);

// Deletes a file below the folder of the library's files that does not parse, and puts the one that
// it replaced back with its dates. Nothing is deleted when a download has replaced the file since.
// Returns whether there is another file to read now. Files elsewhere are the host's: nothing
// happens to them.
bool deleteAndRestore(const QString &path, const DVFileIdentity &unparsable);

// How often a file was put back for the path: a download whose file was taken back meanwhile must not
// store its dates for the old one.
int restoreCount(const QString &path);

} // namespace DVReplacedFile
