#include "CheckedDocument.h"

#include "XmlScanner.h"

namespace {

class Collector
{
public:
    explicit Collector(const QByteArray &bytes)
        : m_scanner(bytes)
    {
        m_document.bytes = bytes;
    }

    CheckedDocument collected()
    {
        for (auto kind = m_scanner.next(); kind != XmlScanner::End; kind = m_scanner.next()) {
            if (kind == XmlScanner::Text || kind == XmlScanner::CData)
                text(kind == XmlScanner::CData);
            if (kind == XmlScanner::StartTag || kind == XmlScanner::EmptyTag)
                start();
            if (kind == XmlScanner::EndTag || kind == XmlScanner::EmptyTag)
                end();
        }
        return std::move(m_document);
    }

private:
    void start()
    {
        const QByteArrayView name = m_scanner.name();
        m_inPlaceholder = false;
        if (m_document.rootName.isNull())
            startRoot();
        if (name == "trans-unit")
            startUnit();
        else if (name == "source" || name == "target")
            startText(name == "source" ? &m_unit.source : &m_unit.target);
        else if (name == "note")
            m_text = nullptr;
        else if (name == "ph")
            startPlaceholder();
        else if (name == "file")
            startFile();
        else if (m_text)
            m_document.lostElements.push_back(
                {m_scanner.place(), QString::fromUtf8(name), qsizetype(m_document.units.size())});
    }
    void startRoot()
    {
        m_document.rootName = QString::fromUtf8(m_scanner.name());
        m_document.version = m_scanner.attribute("version").value_or(QString());
        m_document.root = m_scanner.place();
    }
    void startFile()
    {
        m_document.files.push_back({m_scanner.attribute("source-language").value_or(QString()),
                                    m_scanner.attribute("target-language").value_or(QString()),
                                    m_scanner.place()});
    }
    void startUnit()
    {
        ++m_openUnits;
        const auto key = m_scanner.attribute("resname");
        m_hasKey = key.has_value();
        if (!m_hasKey)
            m_document.unitsWithoutKey.push_back(m_scanner.place());
        m_unit = {};
        m_unit.key = key.value_or(QString());
        m_unit.form = formOfId(m_scanner.attribute("id").value_or(QString()));
        m_unit.tag = m_scanner.place();
        m_unit.file = qsizetype(m_document.files.size()) - 1;
        m_text = nullptr;
    }
    void startText(CheckedText *text)
    {
        m_text = m_openUnits > 0 ? text : nullptr;
        if (text->elements++ == 0)
            text->element = m_scanner.place();
    }
    void startPlaceholder()
    {
        if (!m_text)
            return;
        m_inPlaceholder = true;
        m_text->placeholderElements.emplace_back(m_text->text().size(), m_text->text().size());
    }
    void text(bool isCData)
    {
        if (!m_text)
            return;
        m_text->content.append(m_scanner.bytes(), m_scanner.place().begin, isCData);
        if (m_inPlaceholder)
            m_text->placeholderElements.back().second = m_text->text().size();
    }
    void end()
    {
        const QByteArrayView name = m_scanner.name();
        if (name == "source" || name == "target")
            m_text = nullptr;
        else if (name == "ph")
            m_inPlaceholder = false;
        else if (name == "trans-unit")
            endUnit();
    }
    void endUnit()
    {
        m_text = nullptr;
        --m_openUnits;
        if (std::exchange(m_hasKey, false))
            m_document.units.push_back(std::move(m_unit));
        m_unit = {};
    }

    XmlScanner m_scanner;
    CheckedDocument m_document;
    CheckedUnit m_unit;
    CheckedText *m_text = nullptr; // where characters go
    bool m_inPlaceholder = false;
    bool m_hasKey = false;
    int m_openUnits = 0;
};

} // namespace

QString formOfId(const QString &id)
{
    const qsizetype open = id.indexOf(u'[');
    if (!id.endsWith(u']') || open < 0)
        return {};
    const QString piece = id.section(u'[', 1, 1);
    return piece.isEmpty() ? QString() : piece.chopped(1);
}

Place CheckedDocument::placeOf(const CheckedText &text, qsizetype begin, qsizetype length) const
{
    return text.text().isEmpty() ? text.element : text.content.placeOf(begin, length, bytes);
}

Place CheckedDocument::placeOf(const CheckedText &text) const
{
    return placeOf(text, 0, text.text().size());
}

CheckedDocument checkedDocument(const QByteArray &bytes)
{
    return Collector(bytes).collected();
}
