#include "DVVersion.h"

#include "DVLog.h"
#include "DVQtUse.h"

#include <Dorvane/DVBundle.h>

#include <QCoreApplication>
#include <QUrl>

#include <atomic>

const unsigned char DorvaneVersionString[] = "@(#)PROGRAM:Dorvane  PROJECT:DorvaneFramework-1\n";
const double DorvaneVersionNumber = 1.0;

namespace {

QString versionOrZero()
{
    const QString version = dv_applicationVersion();
    if (!version.isEmpty())
        return version;
    static std::atomic_flag said;
    if (!said.test_and_set())
        dv_logInfo(QStringLiteral("The application has no version, using 0"));
    return QStringLiteral("0");
}

} // namespace

QString dv_applicationVersion()
{
    const QString packaged = DVBundle::mainBundle()
                                 .objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString"))
                                 .toString();
    if (!packaged.isEmpty())
        return packaged;
    const DVQtUse use;
    return use ? QCoreApplication::applicationVersion() : QString();
}

QString dv_versionForNames()
{
    return QString::fromLatin1(QUrl::toPercentEncoding(versionOrZero(), {}, "_~"));
}

QString dv_versionForUrls()
{
    return QString::fromLatin1(QUrl::toPercentEncoding(versionOrZero()));
}
