// The peer of an update, as an application with Qt alone would write it.
#pragma once

#include <QHash>
#include <QString>
#include <QXmlStreamReader>

// Key to text of an XLIFF document; nothing when it is damaged.
inline QHash<QString, QString> readXliffWithQt(const QByteArray &document)
{
    QHash<QString, QString> strings;
    QXmlStreamReader reader(document);
    QString key;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == u"trans-unit")
            key = reader.attributes().value(QLatin1StringView("resname")).toString();
        else if (reader.name() == u"target")
            strings.insert(key, reader.readElementText(QXmlStreamReader::IncludeChildElements));
    }
    return reader.hasError() ? QHash<QString, QString>() : strings;
}
