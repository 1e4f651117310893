// Locale identifiers in both forms and versions, from servers, options and devices: each form turns into
// the other and back, what counts as safe can be part of a path, and names made of versions can be read back.
// Input: a line each for the identifier, the device's version and the host's version, then the device's
// languages, one a line.
#include "FuzzTarget.h"

#include <DVDevice.h>
#include <DVLocaleIdentifiers.h>
#include <DVPluralForm.h>
#include <DVVersion.h>

#include <QCoreApplication>
#include <QUrl>

namespace {

bool isSpecial(const QString &platformForm)
{
    return platformForm == u"jm-JM" || platformForm == u"me-ME" || platformForm == u"xc-MN";
}

void checkForms(const QString &identifier)
{
    const DVLocale device = localeFromDorvneIdentifier(identifier);
    const QString platform = dorvaneLocaleIdentifier(device);
    FUZZ_CHECK(!device.identifier().contains(u'-') && !platform.contains(u'_'));
    FUZZ_CHECK(localeFromDorvneIdentifier(platform) == device);
    FUZZ_CHECK(dorvaneLocaleIdentifierFromId(device.identifier()) == platform);
    QString hyphens = identifier;
    for (QChar &c : hyphens)
        c = c == u'_' ? QChar(u'-') : c;
    // A device's own spelling of a special locale becomes the platform's code for it.
    FUZZ_CHECK(platform == hyphens || isSpecial(platform));
    FUZZ_CHECK(dv_isSafeLocaleIdentifier(identifier) == dv_isSafeLocaleIdentifier(hyphens));
}

bool isAsciiAlphanumeric(char16_t c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

void checkSafety(const QString &identifier)
{
    bool allowed = !identifier.isEmpty() && identifier.size() <= 64;
    for (const QChar c : identifier)
        allowed = allowed && (isAsciiAlphanumeric(c.unicode()) || c == u'_' || c == u'-');
    allowed = allowed && isAsciiAlphanumeric(identifier[0].unicode()) && !identifier[0].isDigit();
    FUZZ_CHECK(dv_isSafeLocaleIdentifier(identifier) == allowed);
}

void checkQueries(const DVLocale &locale)
{
    const QString language = locale.languageCode();
    FUZZ_CHECK(locale.identifier().startsWith(language));
    FUZZ_CHECK(!language.contains(u'_') && !language.contains(u'-') && !language.contains(u'@'));
    const QString country = locale.countryCode();
    FUZZ_CHECK(country.isEmpty() || country.size() == 2 || country.size() == 3);
    FUZZ_CHECK(country == country.toUpper() && locale.identifier().contains(country, Qt::CaseInsensitive));
    FUZZ_CHECK(country.isEmpty() || locale.identifier().size() > language.size() + country.size());
    FUZZ_CHECK(!dv_localizedLanguageName(locale).isEmpty() || !locale.isValid());
    for (const double number : {0.0, 1.0, 2.0, 3.0, 5.0, 11.0, 21.0, 1.5, -1.0}) {
        DVPluralCategory category{};
        const QString name = DVPluralForm::pluralFormForValue(number, locale);
        FUZZ_CHECK(dv_pluralCategoryFromName(name, &category) && category != DVPluralCategory::None);
    }
}

void checkDevice(const QString &identifier, const QString &version, const QStringList &languages)
{
    DVDevice::Override device;
    device.languages = languages;
    device.locale = identifier;
    device.systemVersion = version;
    DVDevice::setOverride(device);
    FUZZ_CHECK(DVDevice::systemVersion() == version);
    const double number = DVDevice::systemVersionNumber();
    FUZZ_CHECK(number >= 0 && number < 1e10);
    FUZZ_CHECK(number == 0 || (!version.isEmpty() && version[0] >= u'0' && version[0] <= u'9'));
    const QStringList preferred = DVDevice::preferredLanguages();
    FUZZ_CHECK(preferred.size() <= languages.size());
    for (const QString &language : preferred)
        FUZZ_CHECK(!language.isEmpty() && !language.contains(u'_'));
    for (int attempt = 0; attempt < 3; ++attempt) {
        const QString candidate = dv_getDeviceLocaleAttempt(attempt);
        FUZZ_CHECK(candidate.isNull() == preferred.isEmpty() && !candidate.contains(u'_'));
    }
    checkQueries(DVDevice::currentLocale());
    DVDevice::setOverride({});
}

void checkVersionNames(const QString &version)
{
    QCoreApplication::setApplicationVersion(version);
    const QString expected = version.isEmpty() ? QStringLiteral("0") : QString::fromUtf8(version.toUtf8());
    const QString forNames = dv_versionForNames();
    const QString forUrls = dv_versionForUrls();
    for (const QString &name : {forNames, forUrls}) {
        FUZZ_CHECK(QUrl::fromPercentEncoding(name.toLatin1()) == expected);
        for (const QChar c : name)
            FUZZ_CHECK(isAsciiAlphanumeric(c.unicode()) || QStringView(u"-.%_~").contains(c));
    }
    FUZZ_CHECK(!forNames.contains(u'_') && !forNames.contains(u'~'));
    QCoreApplication::setApplicationVersion({});
}

} // namespace

void fuzz_identifiers(QByteArrayView input)
{
    FuzzInput in(input);
    const QString identifier = QString::fromUtf8(in.line());
    const QString systemVersion = QString::fromUtf8(in.line());
    const QString version = QString::fromUtf8(in.line());
    QStringList languages;
    while (!in.isEmpty() && languages.size() < 8)
        languages.append(QString::fromUtf8(in.line()));

    checkForms(identifier);
    checkSafety(identifier);
    checkQueries(DVLocale(identifier));
    checkQueries(localeFromDorvneIdentifier(identifier));
    checkDevice(identifier, systemVersion, languages);
    checkVersionNames(version);
}
