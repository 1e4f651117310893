// Locale identifiers of the platform and of the device.
#pragma once

#include <Dorvane/DVLocale.h>

#include <QString>
#include <QStringList>

// The platform writes "fr-CA" and has a few codes of its own; the device writes "fr_CA".
DVLocale localeFromDorvneIdentifier(const QString &platformIdentifier);
QString dorvaneLocaleIdentifierFromId(const QString &deviceIdentifier);
QString dorvaneLocaleIdentifier(const DVLocale &locale);

// The 214 locales of the platform, platform form, in its order (the order decides which is found first).
const QStringList &dv_supportedLocales();

// Candidate locale for attempt 0, 1 or 2 from the device's settings, platform form; null when the
// device has no preference.
QString dv_getDeviceLocaleAttempt(int attempt);

// Display name in the current locale's language (ICU), such as "French (Canada)".
QString dv_localizedLanguageName(const DVLocale &locale);

// Whether an identifier that came from outside may become part of a path or URL: 1 to 64 of
// letters, digits, "_" and "-", beginning with a letter.
bool dv_isSafeLocaleIdentifier(const QString &identifier);
