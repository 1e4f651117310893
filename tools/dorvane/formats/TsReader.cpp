#include "TsReader.h"

#include "NumerusForms.h"
#include "XmlCharacters.h"

#include <QHash>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace {

class TsDocumentReader
{
public:
    TsDocumentReader(const QByteArray &document, const QString &locale)
        : m_xml(document)
        , m_locale(locale)
    {}

    bool read(const std::function<void(qsizetype)> &progress)
    {
        if (!m_xml.readNextStartElement() || m_xml.name() != u"TS") {
            m_xml.raiseError(QStringLiteral("this is no .ts file: its root element must be <TS>"));
            return false;
        }
        m_progress = progress;
        m_result.file.locale = platformLocale(attribute("language"));
        m_result.file.sourceLocale = platformLocale(attribute("sourcelanguage"));
        if (m_locale.isEmpty())
            m_locale = m_result.file.locale;
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == u"context")
                readContext();
            else if (m_xml.name() == u"message")
                readMessage({});
            else
                m_xml.skipCurrentElement();
        }
        return !m_xml.hasError();
    }

    FormatError error() const { return {m_xml.errorString(), {m_xml.lineNumber(), m_xml.columnNumber()}}; }
    TsMessages takeResult() { return std::move(m_result); }

private:
    QString attribute(const char *name) const
    {
        return m_xml.attributes().value(QLatin1StringView(name)).toString();
    }
    FilePosition position() const { return {m_xml.lineNumber(), m_xml.columnNumber()}; }

    void readContext()
    {
        QString name;
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == u"name")
                name = readText();
            else if (m_xml.name() == u"message")
                readMessage(name);
            else
                m_xml.skipCurrentElement();
        }
    }

    void readMessage(const QString &context)
    {
        Message message;
        message.context = context;
        message.id = attribute("id");
        message.plural = attribute("numerus") == u"yes";
        message.position = position();
        message.state = Message::Unfinished;
        while (m_xml.readNextStartElement())
            readPart(message);
        m_result.file.messages.append(message);
        if (m_progress && m_result.file.messages.size() % reportEvery == 0)
            m_progress(m_result.file.messages.size());
    }

    void readPart(Message &message)
    {
        const QStringView name = m_xml.name();
        if (name == u"source")
            message.source = readText();
        else if (name == u"comment")
            message.comment = readText();
        else if (name == u"extracomment")
            message.developerNote = readText();
        else if (name == u"translatorcomment")
            message.translatorNote = readText();
        else if (name == u"translation")
            readTranslation(message);
        else if (name == u"location")
            readLocation(message);
        else
            m_xml.skipCurrentElement();
    }

    void readTranslation(Message &message)
    {
        const QString type = attribute("type");
        const bool isObsolete = type == u"obsolete" || type == u"vanished";
        message.state = isObsolete              ? Message::Obsolete
                        : type == u"unfinished" ? Message::Unfinished
                                                : Message::Finished;
        const FilePosition begin = position();
        QStringList numerusForms;
        const QString text = readText(&numerusForms);
        message.texts = message.plural ? numerusForms : QStringList(text);
        if (message.plural)
            setForms(message, numerusForms, begin);
        else if (!text.isEmpty())
            message.forms.insert(QString(), text);
    }

    void setForms(Message &message, const QStringList &texts, FilePosition where)
    {
        const QStringList categories = numerusCategories(m_locale);
        if (texts.size() > categories.size() && message.state != Message::Obsolete) {
            m_result.file.warnings.append(
                {QStringLiteral("%1 numerus forms, but %2 has %3: the others are left out; open the file "
                                "with lupdate or Linguist once, or say --locale")
                     .arg(texts.size())
                     .arg(m_locale.isEmpty() ? QStringLiteral("an unknown language") : m_locale)
                     .arg(categories.size()),
                 where});
        }
        for (qsizetype i = 0; i < std::min(texts.size(), categories.size()); ++i) {
            if (!texts[i].isEmpty())
                message.forms.insert(categories[i], texts[i]);
        }
    }

    // Lines that begin with a sign count from the last one in the same file.
    void readLocation(Message &message)
    {
        const QString file = attribute("filename");
        const QString line = attribute("line");
        m_xml.skipCurrentElement();
        if (!file.isEmpty())
            m_sourceFile = file;
        int &current = m_sourceLines[m_sourceFile];
        const bool isRelative = line.startsWith(u'+') || line.startsWith(u'-');
        current = isRelative ? current + line.toInt() : line.toInt();
        if (message.sourceFile.isEmpty()) {
            message.sourceFile = m_sourceFile;
            message.sourceLine = current;
        }
    }

    // The content of an element. <byte value="x1b"/> is a character that XML has not. Of length variants
    // the first; numerus forms are appended to `forms`.
    QString readText(QStringList *forms = nullptr)
    {
        QString text;
        QStringList variants;
        while (!m_xml.atEnd() && m_xml.readNext() != QXmlStreamReader::EndElement) {
            if (m_xml.isCharacters()) {
                text += m_xml.text();
            } else if (m_xml.isStartElement()) {
                if (m_xml.name() == u"byte")
                    text += readByte();
                else if (m_xml.name() == u"lengthvariant")
                    variants.append(readText());
                else if (m_xml.name() == u"numerusform" && forms)
                    forms->append(readText());
                else
                    m_xml.skipCurrentElement();
            }
        }
        m_result.variantsLeftOut += int(std::max<qsizetype>(variants.size() - 1, 0));
        return variants.isEmpty() ? text : variants.constFirst();
    }

    // "x1b" or "27"
    QString readByte()
    {
        const QString value = attribute("value");
        m_xml.skipCurrentElement();
        bool isNumber = false;
        const uint code = value.startsWith(u'x') ? QStringView(value).sliced(1).toUInt(&isNumber, 16)
                                                 : value.toUInt(&isNumber);
        constexpr uint lastCharacter = 0x10FFFF;
        if (!isNumber || code == 0 || code > lastCharacter)
            m_xml.raiseError(QStringLiteral("<byte value=\"%1\"/> is no character").arg(value));
        return isNumber && code <= lastCharacter
                   ? QString::fromUcs4(reinterpret_cast<const char32_t *>(&code), 1)
                   : QString();
    }

    static constexpr qsizetype reportEvery = 10'000;

    QXmlStreamReader m_xml;
    QString m_locale;
    TsMessages m_result;
    QString m_sourceFile;
    QHash<QString, int> m_sourceLines;
    std::function<void(qsizetype)> m_progress;
};

} // namespace

QByteArray withoutTsDocumentType(const QByteArray &document)
{
    // Only before the root element: in a CDATA section the same characters are text.
    const qsizetype root = document.indexOf("<TS");
    const qsizetype begin = document.indexOf("<!DOCTYPE");
    if (begin < 0 || root < begin)
        return document;
    const qsizetype end = document.indexOf('>', begin) + 1;
    QByteArray result = document;
    if (document.sliced(begin, end - begin).simplified().replace(" >", ">") == "<!DOCTYPE TS>")
        result.replace(begin, end - begin, QByteArray(end - begin, ' '));
    return result;
}

std::optional<TsMessages> readTs(const QByteArray &document, const QString &locale, FormatError *error,
                                 const std::function<void(qsizetype)> &progress)
{
    const QByteArray plain = withoutTsDocumentType(document);
    if (const auto problem = xmlProblem(plain)) {
        *error = *problem;
        return {};
    }
    TsDocumentReader reader(plain, locale);
    if (reader.read(progress))
        return reader.takeResult();
    *error = reader.error();
    return {};
}
