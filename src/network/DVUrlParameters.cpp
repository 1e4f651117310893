#include "DVUrlParameters.h"

#include <QStringList>

QHash<QString, QString> dv_getParameters(const QUrl &url)
{
    const QString text = url.toString(QUrl::FullyEncoded);
    QStringList pieces = text.split(u'?');
    if (pieces.size() == 1)
        pieces = text.split(u'#');
    return pieces.size() < 2 ? QHash<QString, QString>() : dv_getParametersFromString(pieces.at(1));
}

QHash<QString, QString> dv_getParametersFromString(const QString &string)
{
    QHash<QString, QString> parameters;
    const QStringList pairs = string.split(u'&');
    for (const QString &pair : pairs) {
        const QStringList pieces = pair.split(u'=');
        if (pieces.size() >= 2)
            parameters.insert(pieces.at(0), pieces.at(1));
    }
    return parameters;
}
