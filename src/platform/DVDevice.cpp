#include "DVDevice.h"

#include "DVQtUse.h"

#include <QCoreApplication>
#include <QLocale>
#include <QRegularExpression>
#include <QSysInfo>

#include <unicode/uloc.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <utility>

#if defined(Q_OS_UNIX)
#include <sys/utsname.h>
#endif

namespace {

struct Overriding
{
    std::mutex mutex;
    DVDevice::Override value;
};

Overriding &overriding()
{
    static auto *instance = new Overriding; // never destroyed: threads may outlive static objects
    return *instance;
}

DVDevice::Override currentOverride()
{
    auto &o = overriding();
    const std::lock_guard lock(o.mutex);
    return o.value;
}

// Made behind Qt's own knowledge of the system's locale, and therefore ended before it.
std::atomic<bool> systemLocaleIsWatched = false;
struct SystemLocaleWatch
{
    SystemLocaleWatch()
    {
        static_cast<void>(QLocale::system().name());
        systemLocaleIsWatched = true;
    }
    ~SystemLocaleWatch() { DVQtUse::end(); }
    Q_DISABLE_COPY_MOVE(SystemLocaleWatch)
};

void watchSystemLocale()
{
    static const SystemLocaleWatch watch;
}

// Nothing when Qt cannot tell any more.
template<typename Ask> auto askSystemLocale(const Ask &ask) -> decltype(ask(QLocale::system()))
{
    const DVQtUse use;
    if (!use || (!systemLocaleIsWatched && QCoreApplication::closingDown()))
        return {};
    watchSystemLocale();
    return ask(QLocale::system());
}

QString withoutPosixSuffix(const QString &identifier)
{
    const auto isSuffix = [](QChar c) { return c == u'.' || c == u'@'; };
    return identifier.left(std::find_if(identifier.begin(), identifier.end(), isSuffix) - identifier.begin());
}

// "C" and "POSIX" mean that nobody chose a language; some systems spell it "en_US_POSIX".
bool isNoPreference(const QString &identifier)
{
    return identifier.isEmpty() || identifier == u"C" || identifier == u"POSIX" ||
           identifier.endsWith(u"_POSIX") || identifier.endsWith(u"-POSIX");
}

QString likelyIdentifier(const QString &identifier)
{
    std::array<char, ULOC_FULLNAME_CAPACITY> buffer{};
    UErrorCode status = U_ZERO_ERROR;
    uloc_addLikelySubtags(identifier.toLatin1().constData(), buffer.data(), int32_t(buffer.size()), &status);
    if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING)
        return {};
    return QString::fromLatin1(buffer.data());
}

// Never a number: "001", the world, is what likely subtags give to a language without a country.
QString likelyRegion(const QString &language)
{
    const DVLocale likely(likelyIdentifier(language));
    const QString region = likely.countryCode();
    const bool isCountry = !region.isEmpty() && !region.front().isDigit();
    return isCountry && likely.languageCode() == DVLocale(language).languageCode() ? region : QString();
}

QString completedLanguage(const QString &language)
{
    const DVLocale asGiven(language);
    if (!asGiven.countryCode().isEmpty())
        return language;
    const DVLocale current = DVDevice::currentLocale();
    QString region;
    if (current.languageCode() == asGiven.languageCode())
        region = current.countryCode();
    if (region.isEmpty())
        region = likelyRegion(language);
    return region.isEmpty() ? language : QString(language % u'-' % region);
}

// QLocale::name() with the script where the territory does not imply it ("uz_Cyrl_UZ").
QString systemLocaleIdentifier()
{
    const auto [name, script] = askSystemLocale([](const QLocale &locale) {
        return std::pair(locale.name(), QLocale::scriptToCode(locale.script()));
    });
    if (name.isEmpty())
        return {};
    const QString likely = likelyIdentifier(name);
    if (script.isEmpty() || likely.isEmpty() || likely.contains(QString(u'_' % script % u'_')))
        return name;
    return QString(name).replace(u"_"_qs, QString(u'_' % script % u'_'));
}

} // namespace

QStringList DVDevice::preferredLanguages()
{
    const auto override = currentOverride();
    const QStringList given =
        override.languages ? *override.languages
                           : askSystemLocale([](const QLocale &locale) { return locale.uiLanguages(); });
    QStringList languages;
    for (const QString &entry : given) {
        const QString language = withoutPosixSuffix(entry).replace(u'_', u'-');
        if (!isNoPreference(language))
            languages.append(language);
    }
    // Before this version of the system, languages carried no region.
    if (!languages.isEmpty() && systemVersionNumber() >= 9.0)
        languages.first() = completedLanguage(languages.first());
    return languages;
}

QString DVDevice::likelyLanguage(const QString &language)
{
    const QString likely = likelyIdentifier(language);
    return likely.isEmpty() ? language : QString(likely).replace(u'_', u'-');
}

DVLocale DVDevice::currentLocale()
{
    const auto override = currentOverride();
    const QString given = override.locale ? *override.locale : systemLocaleIdentifier();
    const QString identifier = withoutPosixSuffix(given).replace(u'-', u'_');
    return isNoPreference(identifier) ? DVLocale() : DVLocale(identifier);
}

QString DVDevice::systemVersion()
{
    const auto override = currentOverride();
    return override.systemVersion ? *override.systemVersion : QSysInfo::productVersion();
}

double DVDevice::systemVersionNumber()
{
    const auto override = currentOverride();
    const QString version = override.systemVersion ? *override.systemVersion : QSysInfo::productVersion();
    // Never destroyed: a lookup from a static object's destructor may come here.
    static const auto *leadingNumber = new QRegularExpression(u"^[0-9]{1,9}(\\.[0-9]{1,9})?"_qs);
    const double number = leadingNumber->match(version).captured().toDouble();
    return override.systemVersion ? number : std::max(number, 9.0);
}

QString DVDevice::deviceName()
{
#if defined(Q_OS_UNIX)
    utsname names;
    if (uname(&names) == 0)
        return QString::fromLocal8Bit(names.machine);
#endif
    return QSysInfo::currentCpuArchitecture();
}

void DVDevice::setOverride(const Override &override)
{
    auto &o = overriding();
    const std::lock_guard lock(o.mutex);
    o.value = override;
}
