// DVDevice: what the device says of itself and its user's languages.
#pragma once

#include <Dorvane/DVLocale.h>

#include <QString>
#include <QStringList>

#include <optional>

namespace DVDevice {

// The user's languages, most preferred first, hyphen form ("fr-CA"). A first language without a
// region is completed: from the current locale when the languages agree, else by ICU's likely
// subtags. "C" and "POSIX" are no preference and are left out, so the list may be empty.
QStringList preferredLanguages();

// The language with the script and region that it implies, by ICU's likely subtags, hyphen form:
// "zh-TW" gives "zh-Hant-TW". One that ICU does not know comes back as it is.
QString likelyLanguage(const QString &language);

// The locale of formats, device form ("fr_CA"); invalid for "C" and "POSIX".
DVLocale currentLocale();

// The operating system's version, such as "12" or "17.0".
QString systemVersion();
// The same as a number: "9.3.1" gives 9.3. A text that starts with no number gives 0.
// Without an override at least 9.0: from there on the languages name their region, and ours are completed so.
double systemVersionNumber();

// The machine field of uname, such as "x86_64".
QString deviceName();

// What a test or the command-line tool wants the device to say. Members that are not set keep the
// real answers. Thread-safe.
struct Override
{
    std::optional<QStringList> languages;
    std::optional<QString> locale;
    std::optional<QString> systemVersion;
};
void setOverride(const Override &override);

} // namespace DVDevice

// Posted (sender: the application object) when the user's languages or formats change.
inline constexpr QLatin1StringView DVCurrentLocaleDidChangeNotification{
    "DVCurrentLocaleDidChangeNotification"};
// Posted (sender: the application object) when the application returns to the foreground.
inline constexpr QLatin1StringView DVApplicationWillEnterForegroundNotification{
    "DVApplicationWillEnterForegroundNotification"};
