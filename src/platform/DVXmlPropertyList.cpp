#include "DVPropertyListReaders.h"

#include <QDateTime>
#include <QXmlStreamReader>

namespace {

class XmlReader
{
public:
    explicit XmlReader(const QByteArray &data)
        : m_xml(data)
    {}

    std::optional<QVariantMap> read()
    {
        if (!enterDocument())
            return {};
        const QVariant top = readValue(0);
        while (!m_xml.atEnd())
            m_xml.readNext();
        if (m_xml.hasError() || top.typeId() != QMetaType::QVariantMap)
            return {};
        return top.toMap();
    }

private:
    // Property lists have a document type; one that declares anything of its own is refused, so
    // there are no entities but XML's.
    bool enterDocument()
    {
        while (!m_xml.atEnd() && !m_xml.isStartElement()) {
            if (m_xml.readNext() == QXmlStreamReader::DTD && m_xml.text().contains(u'['))
                return false;
        }
        return m_xml.isStartElement() && m_xml.name() == u"plist" && m_xml.readNextStartElement();
    }

    QVariant readValue(int depth)
    {
        const QStringView name = m_xml.name();
        if (depth > dv_propertyListDepthLimit)
            return refuse();
        if (name == u"dict")
            return readMap(depth);
        if (name == u"array")
            return readList(depth);
        if (name == u"true" || name == u"false") {
            const bool value = name == u"true";
            m_xml.skipCurrentElement();
            return value;
        }
        return readScalar(name.toString());
    }

    QVariant readScalar(const QString &name)
    {
        const QString text = m_xml.readElementText();
        if (name == u"string")
            return text;
        if (name == u"integer")
            return readInteger(text.trimmed());
        if (name == u"real")
            return text.trimmed().toDouble();
        if (name == u"date")
            return QDateTime::fromString(text.trimmed(), Qt::ISODate);
        if (name == u"data")
            return QByteArray::fromBase64(text.toLatin1());
        return refuse();
    }

    QVariant readInteger(const QString &text)
    {
        bool ok = false;
        const qint64 value = text.toLongLong(&ok, text.contains(u'x') ? 16 : 10);
        return ok ? QVariant(value) : refuse();
    }

    QVariant readMap(int depth)
    {
        QVariantMap map;
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != u"key")
                return refuse();
            const QString key = m_xml.readElementText();
            if (!m_xml.readNextStartElement())
                return refuse();
            map.insert(key, readValue(depth + 1));
        }
        return map;
    }

    QVariant readList(int depth)
    {
        QVariantList list;
        while (m_xml.readNextStartElement())
            list.append(readValue(depth + 1));
        return list;
    }

    QVariant refuse()
    {
        m_xml.raiseError();
        return {};
    }

    QXmlStreamReader m_xml;
};

} // namespace

std::optional<QVariantMap> dv_mapFromXmlPropertyList(const QByteArray &data)
{
    return XmlReader(data).read();
}
