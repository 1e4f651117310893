// DVBundle: the application's packaged resources, and the bundle's localized-string lookup.
#pragma once

#include <Dorvane/DorvaneGlobal.h>

#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVariantMap>

struct DVBundleData;

// A folder or a ":/" resource prefix that may hold
//   Info.plist                        XML or binary property list ("CFBundleShortVersionString", ...)
//   <locale>.lproj/<table>.strings    "key" = "value"; text, or a property list
//   <locale>.xlf                      packaged XLIFF 1.2
// A value, shared by copies; thread-safe. Files are read on first use and cached for the life of
// the bundle; nothing in them can make a call fail other than by finding nothing.
class DORVANE_EXPORT DVBundle
{
public:
    // An empty bundle: it finds nothing.
    DVBundle();
    explicit DVBundle(const QString &path);

    // The first that exists of: what setMainBundle set, ":/dorvane", the platform's resource folder
    // of the application, the application's folder. Chosen on first use after a QCoreApplication
    // exists; an empty bundle before.
    // The platform's resource folder is, on Unix desktops, "../share/<application name>" beside the
    // program's folder, then "<organization>/<application name>" in the system's data folders; on
    // macOS "../Resources"; on Android "assets:/dorvane". It counts only when it holds Info.plist,
    // an ".lproj" folder or an ".xlf" file, because it exists for other reasons, too.
    static DVBundle mainBundle();
    // For hosts that keep their resources elsewhere, and for tests. Call it before the start. An
    // invalid bundle restores the choice above.
    static void setMainBundle(const DVBundle &bundle);

    bool isValid() const;
    QString bundlePath() const;

    // Info.plist; an invalid QVariant for a key that is absent.
    QVariant objectForInfoDictionaryKey(const QString &key) const;

    // Path of a resource that exists, else a null string. With a localization, only
    // "<localization>.lproj/" is searched, else only the top folder. A name with a separator, or a
    // localization of other characters than ASCII letters, digits, "_" and "-", has no resource.
    QString pathForResource(const QString &name, const QString &type, const QString &localization = {}) const;

    // Localizations of the bundle (names of its ".lproj" folders).
    QStringList localizations() const;

    // The bundle's lookup, through the replaceable method "localizedStringForKey:value:table:" of
    // the class "DVBundle" (see DVRuntime.h). While the library serves, the answer comes from its
    // stores first. A null or empty table means "Localizable". A key that nobody knows gives
    // `value`, or the key itself when `value` is empty.
    QString localizedStringForKey(const QString &key, const QString &value = {},
                                  const QString &table = {}) const;

    // The bundle's own answer, without the library: the most preferred language of the device for
    // which there is an ".lproj" folder ("zh-TW" also finds "zh_Hant" and "zh"), else the development
    // region's ("CFBundleDevelopmentRegion", else "en"), else the top folder's. The language is chosen
    // when a table is first read.
    QString packagedStringForKey(const QString &key, const QString &value, const QString &table) const;

private:
    QSharedPointer<DVBundleData> d;
};

// Signature of the implementation behind "localizedStringForKey:value:table:".
using DVLocalizedStringForKeyImp = QString (*)(const DVBundle &bundle, const char *selector,
                                               const QString &key, const QString &value,
                                               const QString &table);
