#include "Deployment.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

QVariantMap deploymentOptions()
{
    QVariantMap options;
    const QByteArray servers = qgetenv("DORVANE_EXAMPLE_SERVERS");
    if (!servers.isEmpty())
        options.insert(QStringLiteral("servers"), QJsonDocument::fromJson(servers).object().toVariantMap());
    const QString locale = qEnvironmentVariable("DORVANE_EXAMPLE_LOCALE");
    if (!locale.isEmpty()) {
        options.insert(QStringLiteral("forceLocale"), locale);
        QLocale::setDefault(QLocale(locale));
    }
    return options;
}
