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
    static DVBundle mainBundle();
    // For hosts that keep their resources elsewhere, and for tests. Call it before the start.
    static void setMainBundle(const DVBundle &bundle);

    bool isValid() const;
    QString bundlePath() const;

    // Info.plist; an invalid QVariant for a key that is absent.
    QVariant objectForInfoDictionaryKey(const QString &key) const;

    // Path of a resource that exists, else a null string. With a localization, only
    // "<localization>.lproj/" is searched, else only the top folder.
    QString pathForResource(const QString &name, const QString &type, const QString &localization = {}) const;

    // Localizations of the bundle (names of its ".lproj" folders).
    QStringList localizations() const;

    // The bundle's lookup, through the replaceable method "localizedStringForKey:value:table:" of
    // the class "DVBundle" (see DVRuntime.h). While the library serves, the answer comes from its
    // stores first. A null or empty table means "Localizable". A key that nobody knows gives
    // `value`, or the key itself when `value` is empty.
    QString localizedStringForKey(const QString &key, const QString &value = {}, const QString &table = {}) const;

    // The bundle's own answer, without the library: the most preferred language of the device for
    // which there is an ".lproj" folder, else the development region's.
    QString packagedStringForKey(const QString &key, const QString &value, const QString &table) const;

private:
    QSharedPointer<DVBundleData> d;
};

// Signature of the implementation behind "localizedStringForKey:value:table:".
using DVLocalizedStringForKeyImp = QString (*)(const DVBundle &bundle, const char *selector, const QString &key,
                                               const QString &value, const QString &table);
