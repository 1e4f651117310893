// DVOtherVersions: what earlier (or later) versions of the application left on the device.
#pragma once

namespace DVOtherVersions {

// Removes published and pending strings files of other versions, copies kept of them, and their dates, once
// in a process for each folder and version, after the first turn of the event loop. Files of edited strings
// are somebody's work and stay; so does everything whose name the library would not have written. Main
// thread.
void removeSoon();

// The same at once, and again.
void removeNow();

} // namespace DVOtherVersions
