// Parameters of URLs, as sign-in redirects carry them.
#pragma once

#include <QHash>
#include <QString>
#include <QUrl>

// Splits the absolute URL's text at "?", or without one at "#"; nothing is percent-decoded.
QHash<QString, QString> dv_getParameters(const QUrl &url);
// "a=1&b=2"; later keys overwrite earlier ones; a pair without "=" is left out.
QHash<QString, QString> dv_getParametersFromString(const QString &string);
