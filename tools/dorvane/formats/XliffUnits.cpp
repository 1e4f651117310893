#include "XliffUnits.h"

#include "XmlCharacters.h"

#include <QXmlStreamReader>

namespace {

class UnitReader
{
public:
    explicit UnitReader(const QByteArray &document)
        : m_xml(document)
    {}

    bool read()
    {
        if (!m_xml.readNextStartElement() || m_xml.name() != u"xliff") {
            m_xml.raiseError(QStringLiteral("this is no XLIFF file: its root element must be <xliff>"));
            return false;
        }
        const QString version = attribute("version");
        if (!version.isEmpty() && !version.startsWith(u"1.")) {
            m_xml.raiseError(QStringLiteral("this is XLIFF %1; save or export it as XLIFF 1.2").arg(version));
            return false;
        }
        readContainer(Place{});
        return !m_xml.hasError();
    }

    FormatError error() const { return {m_xml.errorString(), {m_xml.lineNumber(), m_xml.columnNumber()}}; }
    XliffDocument takeResult() { return std::move(m_result); }

private:
    struct Place
    {
        QString original;
        QString context;
        bool inPluralGroup = false;
    };

    QString attribute(const char *name) const
    {
        return m_xml.attributes().value(QLatin1StringView(name)).toString();
    }

    void readContainer(const Place &place)
    {
        while (m_xml.readNextStartElement()) {
            const QStringView name = m_xml.name();
            if (name == u"trans-unit")
                readUnit(place);
            else if (name == u"file")
                readFile();
            else if (name == u"group")
                readGroup(place);
            else if (name == u"body")
                readContainer(place);
            else
                m_xml.skipCurrentElement();
        }
    }

    void readFile()
    {
        const QString locale = platformLocale(attribute("target-language"));
        if (m_result.sourceLocale.isEmpty())
            m_result.sourceLocale = platformLocale(attribute("source-language"));
        if (m_result.targetLocale.isEmpty()) {
            m_result.targetLocale = locale;
        } else if (!locale.isEmpty() && m_result.otherTargetLocale.isEmpty() &&
                   locale.compare(m_result.targetLocale, Qt::CaseInsensitive) != 0) {
            m_result.otherTargetLocale = locale;
            m_result.otherTargetPosition = {m_xml.lineNumber(), m_xml.columnNumber()};
        }
        readContainer({attribute("original"), {}, false});
    }

    void readGroup(Place place)
    {
        const QString type = attribute("restype");
        if (type.endsWith(u"-plurals"))
            place.inPluralGroup = true;
        else if (type.endsWith(u"-linguist-context"))
            place.context = attribute("resname");
        readContainer(place);
    }

    void readUnit(const Place &place)
    {
        XliffUnit unit;
        unit.position = {m_xml.lineNumber(), m_xml.columnNumber()};
        unit.id = attribute("id");
        if (m_xml.attributes().hasAttribute(QLatin1StringView("resname")))
            unit.resname = attribute("resname");
        unit.translate = attribute("translate") != u"no";
        unit.approved = attribute("approved") != u"no";
        unit.original = place.original;
        unit.context = place.context;
        unit.inPluralGroup = place.inPluralGroup;
        while (m_xml.readNextStartElement())
            readPart(unit);
        m_result.units.append(unit);
    }

    void readPart(XliffUnit &unit)
    {
        const QStringView name = m_xml.name();
        if (name == u"source") {
            unit.source = readInline(unit);
        } else if (name == u"target") {
            unit.state = attribute("state");
            unit.target = readInline(unit);
        } else if (name == u"note") {
            const QString from = attribute("from");
            unit.notes.append({from, m_xml.readElementText(QXmlStreamReader::IncludeChildElements)});
        } else if (name == u"context-group") {
            readUse(unit);
        } else {
            m_xml.skipCurrentElement(); // seg-source says the source again, alt-trans what is not served
        }
    }

    QString readInline(XliffUnit &unit)
    {
        QString text;
        while (!m_xml.atEnd() && m_xml.readNext() != QXmlStreamReader::EndElement) {
            if (m_xml.isCharacters())
                text += m_xml.text();
            else if (m_xml.isStartElement())
                text += readInlineElement(unit);
        }
        return text;
    }

    // XLIFF 1.2, 2.4: <g> and <mrk> hold text; <ph>, <bpt>, <ept> and <it> what stands there in the
    // original; <x/>, <bx/> and <ex/> nothing.
    QString readInlineElement(XliffUnit &unit)
    {
        const bool isEmpty = m_xml.name() == u"x" || m_xml.name() == u"bx" || m_xml.name() == u"ex";
        const QString type = attribute("ctype");
        const QString equivalent = attribute("equiv-text");
        const QString text = readInline(unit);
        if (!isEmpty || !text.isEmpty())
            return text;
        if (equivalent.isEmpty() && type != u"lb")
            ++unit.lostElements;
        return equivalent.isEmpty() && type == u"lb" ? QStringLiteral("\n") : equivalent;
    }

    void readUse(XliffUnit &unit)
    {
        XliffUse use;
        while (m_xml.readNextStartElement()) {
            const QString type = attribute("context-type");
            const QString text = m_xml.readElementText(QXmlStreamReader::IncludeChildElements);
            if (type == contextTypeOfContext)
                use.context = text;
            else if (type == contextTypeOfComment || type.endsWith(u"-msgctxt"))
                use.comment = text;
            else if (type == contextTypeOfUnfinished)
                use.unfinished = text;
            else if (type == u"sourcefile")
                use.sourceFile = text;
            else if (type == u"linenumber")
                use.sourceLine = text;
        }
        if (use != XliffUse())
            unit.uses.append(use);
    }

    QXmlStreamReader m_xml;
    XliffDocument m_result;
};

} // namespace

std::optional<XliffDocument> readXliff(const QByteArray &document, FormatError *error)
{
    if (const auto problem = xmlProblem(document)) {
        *error = *problem;
        return {};
    }
    UnitReader reader(document);
    if (reader.read())
        return reader.takeResult();
    *error = reader.error();
    return {};
}
