#include "Message.h"

QString FormatError::text(const QString &path) const
{
    if (position.line <= 0)
        return QStringLiteral("%1: %2").arg(path, what);
    return QStringLiteral("%1:%2:%3: %4")
        .arg(path, QString::number(position.line), QString::number(position.column), what);
}

QString platformLocale(const QString &locale)
{
    QString result = locale;
    return result.replace(u'_', u'-');
}
