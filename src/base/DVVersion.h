// Versions: the library's own, and the host application's, which names files, keys and URLs.
#pragma once

#include <Dorvane/DorvaneGlobal.h>

#include <QString>

extern "C" DORVANE_EXPORT const unsigned char DorvaneVersionString[];
extern "C" DORVANE_EXPORT const double DorvaneVersionNumber;

// "1.4.1", the release that the start-up log, the User-Agent and analytics report.
inline constexpr QLatin1StringView dv_sdkVersion{"1.4.1"};

// "CFBundleShortVersionString" of the main bundle, else QCoreApplication::applicationVersion();
// null when there is neither.
QString dv_applicationVersion();

// The same for file names and keys: everything but letters, digits, "." and "-" percent-encoded as
// UTF-8; "0" when the application has no version, said once at info level.
QString dv_versionForNames();

// The same for a URL path segment.
QString dv_versionForUrls();
