#include "DVLocaleIdentifiers.h"

#include "DVDevice.h"
#include "DVLog.h"

#include <unicode/uldnames.h>

#include <algorithm>
#include <array>
#include <memory>

namespace {

// Platform codes without a regular counterpart on a device.
struct SpecialIdentifier
{
    QLatin1StringView platform;
    QLatin1StringView device;
};
constexpr std::array specialIdentifiers{
    SpecialIdentifier{QLatin1StringView("jm-JM"), QLatin1StringView("en_JM")},
    SpecialIdentifier{QLatin1StringView("me-ME"), QLatin1StringView("sr_Latn_ME")},
    SpecialIdentifier{QLatin1StringView("xc-MN"), QLatin1StringView("mn_Cyrl_MN")},
};

constexpr QLatin1StringView supportedLocales{"af-ZA am-ET ar ar-AE ar-BH ar-EG ar-JO ar-KW ar-LB ar-MA ar-OM "
                                             "ar-QA ar-SA az-AZ be-BY bg-BG bn-BD bn-IN "
                                             "bs-BA ca-ES cs-CZ cy-GB da-DK de de-AT de-BE de-CH de-DE de-LI "
                                             "de-LU dv el el-CY el-GR en en-AE en-AQ en-AT "
                                             "en-AU en-BE en-BG en-BH en-CA en-CH en-CN en-CY en-CZ en-DE "
                                             "en-DK en-EE en-EG en-FI en-FR en-GB en-GR en-HK "
                                             "en-HU en-ID en-IE en-IL en-IN en-IS en-IT en-JO en-JP en-KH "
                                             "en-KW en-LA en-LB en-LK en-LT en-LU en-LV en-MA "
                                             "en-MT en-MY en-NG en-NL en-NO en-NZ en-OM en-PH en-PK en-PT "
                                             "en-QA en-RO en-SA en-SE en-SG en-SK en-SL en-TH "
                                             "en-TW en-US en-UY en-VN en-ZA eo es es-AD es-AR es-CL es-CO "
                                             "es-CR es-EC es-ES es-GT es-LA es-MX es-PA es-PE "
                                             "es-SV es-US es-UY es-VE et-EE eu-ES fa-AF fa-IR fi-FI fo-FO fr "
                                             "fr-BE fr-CA fr-CH fr-FR fr-LU fr-MA fr-MC "
                                             "ga-IE gl-ES gu-IN he-IL hi-IN hr-HR ht-HT hu-HU hu-RO hy-AM "
                                             "id-ID is-IS it it-CH it-IT ja ja-JP jm-JM jv "
                                             "ka-GE kk-KZ km-KH kn-IN ko ko-KR ku-TR lt-LT lv-LV me-ME mi-NZ "
                                             "mk-MK ml-IN mr-IN ms ms-MY mt-MT my my-SG "
                                             "nb-NO nl nl-BE nl-NL nn-NO no-NO pa-IN pa-PK pl pl-PL pt pt-BR "
                                             "pt-PT ro-HU ro-MD ro-RO ru ru-RU si-LK sk-SK "
                                             "sl-SI sn sq-AL sr-RS sv-FI sv-SE sw ta-IN ta-LK te-IN tg-TJ th "
                                             "th-TH tl-PH tr tr-TR uk-UA ur uz-UZ vi-VN "
                                             "xc-MN zh-CN zh-HK zh-MY zh-SG zh-TW zu-ZA"};

QString withoutLastPart(const QString &language)
{
    return language.left(std::max<qsizetype>(0, language.lastIndexOf(u'-')));
}

// From version 9 on the device's languages carry a region; before, they are bare.
QString trimmedLanguage(const QString &language)
{
    return DVDevice::systemVersionNumber() >= 9.0 ? withoutLastPart(language) : language;
}

QString firstSupportedLocaleOfLanguage(const QString &language)
{
    const auto &locales = dv_supportedLocales();
    const auto found = std::find_if(locales.begin(), locales.end(), [&](const QString &locale) {
        return locale.section(u'-', 0, 0) == language;
    });
    return found == locales.end() ? QString() : *found;
}

using DisplayNames = std::unique_ptr<ULocaleDisplayNames, decltype(&uldn_close)>;

// Names in the current locale's language; English where the device has no preference.
DisplayNames openDisplayNames()
{
    const QString current = DVDevice::currentLocale().identifier();
    const QByteArray locale =
        dv_isSafeLocaleIdentifier(current) ? current.toLatin1() : QByteArrayLiteral("en");
    std::array contexts{UDISPCTX_STANDARD_NAMES, UDISPCTX_NO_SUBSTITUTE};
    UErrorCode status = U_ZERO_ERROR;
    return {uldn_openForContext(locale.constData(), contexts.data(), int32_t(contexts.size()), &status),
            uldn_close};
}

using NameQuery = int32_t (*)(const ULocaleDisplayNames *, const char *, UChar *, int32_t, UErrorCode *);

// Null when ICU knows no name for the code.
QString displayName(const DisplayNames &names, NameQuery query, const QString &code)
{
    if (!names || !dv_isSafeLocaleIdentifier(code))
        return {};
    std::array<UChar, 256> buffer;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        query(names.get(), code.toLatin1().constData(), buffer.data(), int32_t(buffer.size()), &status);
    if (U_FAILURE(status) || length <= 0 || length > int32_t(buffer.size()))
        return {};
    return QString(reinterpret_cast<const QChar *>(buffer.data()), length);
}

} // namespace

DVLocale localeFromDorvneIdentifier(const QString &platformIdentifier)
{
    for (const auto &special : specialIdentifiers) {
        if (platformIdentifier == special.platform)
            return DVLocale(special.device);
    }
    return DVLocale(QString(platformIdentifier).replace(u'-', u'_'));
}

QString dorvaneLocaleIdentifierFromId(const QString &deviceIdentifier)
{
    for (const auto &special : specialIdentifiers) {
        if (deviceIdentifier == special.device)
            return special.platform;
    }
    return QString(deviceIdentifier).replace(u'_', u'-');
}

QString dorvaneLocaleIdentifier(const DVLocale &locale)
{
    return dorvaneLocaleIdentifierFromId(locale.identifier());
}

const QStringList &dv_supportedLocales()
{
    static const auto *locales = new QStringList(QString(supportedLocales).split(u' ')); // never destroyed
    return *locales;
}

QString dv_getDeviceLocaleAttempt(int attempt)
{
    const QString language = DVDevice::preferredLanguages().value(0);
    if (language.isEmpty())
        return {};
    const QString trimmed = trimmedLanguage(language);
    const DVLocale current = DVDevice::currentLocale();
    const QString deviceLocale = dorvaneLocaleIdentifier(current);
    dv_logDebug(QStringLiteral("Locale detection attempt %1").arg(attempt));
    dv_logDebug(QStringLiteral("Language: %1 Locale: %2").arg(language, deviceLocale));

    if (attempt == 0 && current.languageCode() == trimmed && dv_supportedLocales().contains(deviceLocale))
        return deviceLocale;
    const QString candidate = dorvaneLocaleIdentifierFromId(language);
    if (attempt >= 2 || dv_supportedLocales().contains(candidate))
        return candidate;
    const QString sameLanguage = firstSupportedLocaleOfLanguage(trimmed);
    return sameLanguage.isNull() ? candidate : sameLanguage;
}

QString dv_localizedLanguageName(const DVLocale &locale)
{
    const DisplayNames names = openDisplayNames();
    const QString language = displayName(names, uldn_languageDisplayName, locale.languageCode());
    if (language.isNull())
        return locale.identifier();
    const QString country = displayName(names, uldn_regionDisplayName, locale.countryCode());
    return QStringLiteral("%1 (%2)").arg(language,
                                         country.isNull() ? QStringLiteral("International") : country);
}

bool dv_isSafeLocaleIdentifier(const QString &identifier)
{
    const auto isLetter = [](QChar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); };
    const auto isAllowed = [&](QChar c) {
        return isLetter(c) || (c >= u'0' && c <= u'9') || c == u'_' || c == u'-';
    };
    return !identifier.isEmpty() && identifier.size() <= 64 && isLetter(identifier.front()) &&
           std::all_of(identifier.begin(), identifier.end(), isAllowed);
}
