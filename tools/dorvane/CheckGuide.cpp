#include "CheckGuide.h"

#include <QFile>

QString guideSection(const QString &rule)
{
    QFile file(QStringLiteral(":/dorvane/guides/check.md"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QString guide = u'\n' % QString::fromUtf8(file.readAll());
    const qsizetype begin = guide.indexOf(QString(u"\n### " % rule % u'\n'));
    if (begin < 0)
        return {};
    const qsizetype end = guide.indexOf(QStringLiteral("\n##"), begin + 1);
    return guide.mid(begin + 5, end < 0 ? -1 : end - begin - 5).trimmed();
}
