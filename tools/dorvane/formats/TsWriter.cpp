#include "TsWriter.h"

#include "ElementSpans.h"
#include "Keys.h"
#include "NumerusForms.h"
#include "TsReader.h"
#include "XmlCharacters.h"
#include "XmlScanner.h"

#include <Dorvane/DVLocale.h>

#include <QHash>

namespace {

constexpr char16_t noBreakSpace = 0xA0;

// As lupdate writes it, so that its next run changes nothing.
QByteArray tsContent(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        if (code == u'&')
            result += QLatin1StringView("&amp;");
        else if (code == u'<')
            result += QLatin1StringView("&lt;");
        else if (code == u'>')
            result += QLatin1StringView("&gt;");
        else if (code == u'"')
            result += QLatin1StringView("&quot;");
        else if (code == u'\'')
            result += QLatin1StringView("&apos;");
        else if (code == noBreakSpace)
            result += QLatin1StringView("&#xa0;");
        else if (code < u' ' && code != u'\n' && code != u'\t')
            result += QStringLiteral("<byte value=\"x%1\"/>").arg(code, 0, 16);
        else
            result += c;
    }
    return result.toUtf8();
}

QByteArray element(const char *name, const QString &text)
{
    return QByteArray("<") + name + '>' + tsContent(text) + "</" + name + '>';
}

// What a <translation> is to say.
struct Translation
{
    QStringList texts; // one, or the numerus forms
    bool plural = false;
    bool finished = false;

    void replaceBy(const QStringList &unfinishedTexts)
    {
        for (qsizetype i = 0; i < texts.size(); ++i)
            texts[i] = unfinishedTexts.value(i);
        finished = false;
    }
    // What the folder has no text for keeps the one that is there.
    void fillFrom(const Message &message)
    {
        for (qsizetype i = 0; i < texts.size(); ++i) {
            if (texts[i].isEmpty())
                texts[i] = message.texts.value(i);
        }
    }
};

// A message that is called finished stays so: a form may be empty on purpose.
bool isSame(const Translation &translation, const Message &message)
{
    return translation.texts == message.texts &&
           (message.state == Message::Finished || !translation.finished);
}

QByteArray translationElement(const Translation &translation, const QByteArray &indentation)
{
    const QByteArray start = translation.finished ? "<translation>" : "<translation type=\"unfinished\">";
    if (!translation.plural)
        return start + tsContent(translation.texts.value(0)) + "</translation>";
    QByteArray result = start;
    for (const QString &text : translation.texts)
        result += '\n' + indentation + "    " + element("numerusform", text);
    return result + '\n' + indentation + "</translation>";
}

class Folder
{
public:
    Folder(const QList<LocaleString> &strings, const QString &locale)
        : m_categories(numerusCategories(locale))
    {
        for (const LocaleString &string : strings)
            m_strings.insert(string.key, &string);
    }

    const LocaleString *stringOf(const Message &message) const
    {
        for (const QString &key : possibleKeys(message)) {
            if (const LocaleString *string = m_strings.value(key))
                return string;
        }
        return nullptr;
    }

    // Finished with what is served, else unfinished with what was suggested.
    Translation translationOf(const LocaleString *string, bool plural) const
    {
        Translation translation;
        translation.plural = plural;
        translation.finished = true;
        for (const QString &category : plural ? m_categories : QStringList(QString())) {
            const QString text = string ? formOf(*string, category) : QString();
            const QString suggestion = string ? string->suggestions.value(category) : QString();
            translation.texts.append(text.isEmpty() ? suggestion : text);
            translation.finished = translation.finished && !text.isEmpty();
        }
        return translation;
    }

    static bool hasText(const LocaleString &string)
    {
        for (const auto &form : string.forms) {
            if (form)
                return true;
        }
        return false;
    }

private:
    // A string that has no plural forms, or has them where none is asked for, gives the one nearest.
    static QString formOf(const LocaleString &string, const QString &category)
    {
        for (const QString &candidate : {category, QString(), QStringLiteral("other")}) {
            if (string.forms.contains(candidate))
                return string.forms.value(candidate).value_or(QString());
        }
        return {};
    }

    const QStringList m_categories;
    QHash<QString, const LocaleString *> m_strings;
};

bool sameLanguage(const QString &a, const QString &b)
{
    return DVLocale(a).languageCode() == DVLocale(b).languageCode();
}

QString deviceLocale(const QString &locale)
{
    return QString(locale).replace(u'-', u'_');
}

// Where the parts of a message stand in a document.
struct MessagePlace
{
    ElementSpan message;
    std::optional<ElementSpan> translation;
};

QList<MessagePlace> messagePlaces(QByteArrayView document)
{
    QList<MessagePlace> places;
    for (const ElementSpan &span : elementSpans(document, {"message", "translation"})) {
        if (span.name == 0)
            places.append({span, {}});
        else if (!places.isEmpty())
            places.last().translation = span;
    }
    return places;
}

// Replaces translations, from the first to the last.
class TsRewriter
{
public:
    explicit TsRewriter(const QByteArray &document)
        : m_document(document)
    {}

    void set(const MessagePlace &place, const Translation &translation)
    {
        if (place.translation) {
            copyTo(place.translation->begin);
            m_result += translationElement(translation, indentationAt(place.translation->begin));
            m_done = place.translation->end;
            return;
        }
        constexpr QByteArrayView endTag("</message>");
        copyTo(place.message.end - endTag.size());
        m_result += translationElement(translation, {});
    }
    void replace(qsizetype begin, qsizetype end, const QByteArray &by)
    {
        copyTo(begin);
        m_result += by;
        m_done = end;
    }
    QByteArray result()
    {
        copyTo(m_document.size());
        return m_result;
    }

private:
    void copyTo(qsizetype end)
    {
        m_result += QByteArrayView(m_document).sliced(m_done, end - m_done);
        m_done = end;
    }
    QByteArray indentationAt(qsizetype position) const
    {
        qsizetype begin = position;
        while (begin > 0 && (m_document[begin - 1] == ' ' || m_document[begin - 1] == '\t'))
            --begin;
        return m_document.sliced(begin, position - begin);
    }

    const QByteArray m_document;
    QByteArray m_result;
    qsizetype m_done = 0;
};

void setLanguage(TsRewriter &rewriter, const QByteArray &document, const QString &locale)
{
    XmlScanner scanner(document);
    for (auto kind = scanner.next(); kind != XmlScanner::End; kind = scanner.next()) {
        if (kind != XmlScanner::StartTag || scanner.name() != "TS")
            continue;
        if (const auto value = scanner.attributePlace("language"))
            rewriter.replace(value->begin, value->begin + value->length, deviceLocale(locale).toUtf8());
        return;
    }
}

// What stands in one place of the application, as a .ts file has it.
struct Occurrence
{
    Message message;
    std::optional<QString> unfinished; // see XliffUse
};

QList<Occurrence> placesOf(const LocaleString &string)
{
    const QStringList parts = string.key.split(QChar(keySeparator));
    Message message;
    message.source = withoutControlPictures(parts.size() > 1 ? parts[1] : string.source);
    message.id = parts.size() == 1 && string.key != string.source ? string.key : QString();
    message.context = parts.size() > 1 ? withoutControlPictures(parts[0]) : QString();
    message.comment = withoutControlPictures(parts.value(2));
    message.plural = string.isPlural();
    for (const XliffNote &note : string.notes) {
        if (note.from == u"translator")
            message.translatorNote = note.text;
        else if (note.from != u"unfinished")
            message.developerNote = note.text;
    }
    QList<Occurrence> places;
    for (const XliffUse &use : string.uses) {
        message.context = withoutControlPictures(use.context);
        message.comment = withoutControlPictures(use.comment);
        message.sourceFile = use.sourceFile;
        message.sourceLine = use.sourceLine.toInt();
        places.append({message, use.unfinished});
    }
    return places.isEmpty() ? QList<Occurrence>{{message, {}}} : places;
}

// What stood in this place while the folder's translation of the string was another place's.
std::optional<QString> unfinishedHere(const LocaleString &string, const Message &message)
{
    const QString context = withControlPictures(message.context);
    const QString comment = withControlPictures(message.comment);
    for (const XliffUse &use : string.uses) {
        if (use.unfinished && use.context == context && use.comment == comment)
            return use.unfinished;
    }
    return {};
}

QByteArray messageElement(const Message &message, const Translation &translation)
{
    QByteArray tag = "    <message";
    if (!message.id.isEmpty())
        tag += " id=\"" + xmlAttribute(message.id) + '"';
    if (message.plural)
        tag += " numerus=\"yes\"";
    QByteArrayList lines{tag + '>'};
    const QByteArray indentation(8, ' ');
    if (!message.sourceFile.isEmpty())
        lines.append(indentation + "<location filename=\"" + xmlAttribute(message.sourceFile) + "\" line=\"" +
                     QByteArray::number(message.sourceLine) + "\"/>");
    lines.append(indentation + element("source", message.source));
    if (!message.comment.isEmpty())
        lines.append(indentation + element("comment", message.comment));
    if (!message.developerNote.isEmpty())
        lines.append(indentation + element("extracomment", message.developerNote));
    if (!message.translatorNote.isEmpty())
        lines.append(indentation + element("translatorcomment", message.translatorNote));
    lines.append(indentation + translationElement(translation, indentation));
    return lines.join('\n') + "\n    </message>\n";
}

} // namespace

TsExport tsOfStrings(const QList<LocaleString> &strings, const QString &locale, const QString &sourceLocale)
{
    const Folder folder(strings, locale);
    TsExport result;
    QStringList contexts; // in the order of the folder
    QHash<QString, QByteArray> contents;
    for (const LocaleString &string : strings) {
        for (const auto &[message, unfinished] : placesOf(string)) {
            if (!contents.contains(message.context))
                contexts.append(message.context);
            Translation translation = folder.translationOf(&string, message.plural);
            if (unfinished)
                translation.replaceBy(unfinished->split(QChar(keySeparator)));
            contents[message.context] += messageElement(message, translation);
            ++(translation.finished ? result.translated : result.untranslated);
        }
    }
    result.document =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\" language=\"" +
        deviceLocale(locale).toUtf8() + "\" sourcelanguage=\"" + deviceLocale(sourceLocale).toUtf8() +
        "\">\n";
    for (const QString &context : std::as_const(contexts))
        result.document +=
            "<context>\n    " + element("name", context) + '\n' + contents[context] + "</context>\n";
    result.document += "</TS>\n";
    return result;
}

std::optional<TsExport> tsWithStrings(const QByteArray &ts, const QList<LocaleString> &strings,
                                      const QString &locale, FormatError *error)
{
    const auto read = readTs(ts, locale, error);
    if (!read)
        return {};
    const QList<Message> &messages = read->file.messages;
    const QList<MessagePlace> places = messagePlaces(withoutTsDocumentType(ts));
    if (places.size() != messages.size()) {
        *error = {QStringLiteral("it has messages in places where Qt's tools do not look for them"), {}};
        return {};
    }
    const bool isForeign = !read->file.locale.isEmpty() && !sameLanguage(read->file.locale, locale);
    const Folder folder(strings, locale);
    TsRewriter rewriter(ts);
    TsExport result;
    if (isForeign)
        setLanguage(rewriter, ts, locale);
    for (qsizetype i = 0; i < messages.size(); ++i) {
        if (messages[i].state == Message::Obsolete)
            continue;
        const LocaleString *string = folder.stringOf(messages[i]);
        const auto unfinished = string ? unfinishedHere(*string, messages[i]) : std::nullopt;
        const bool isKnown = string && !unfinished && Folder::hasText(*string);
        ++(isKnown ? result.translated : result.untranslated);
        Translation translation = folder.translationOf(string, messages[i].plural);
        if (unfinished)
            translation.replaceBy(unfinished->split(QChar(keySeparator)));
        if (!isForeign)
            translation.fillFrom(messages[i]);
        if (!isSame(translation, messages[i]))
            rewriter.set(places[i], translation);
    }
    result.document = rewriter.result();
    return result;
}
