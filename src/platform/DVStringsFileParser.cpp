#include "DVStringsFileParser.h"

#include <QStringDecoder>

namespace {

using Texts = QHash<QString, QString>;

bool isWordCharacter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
           QStringView(u"_$/:.-").contains(c);
}

int hexDigit(QChar c)
{
    if (c >= u'0' && c <= u'9')
        return c.unicode() - u'0';
    if (c >= u'a' && c <= u'f')
        return c.unicode() - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c.unicode() - u'A' + 10;
    return -1;
}

QChar escapedCharacter(QChar c)
{
    switch (c.unicode()) {
    case u'n':
        return u'\n';
    case u't':
        return u'\t';
    case u'r':
        return u'\r';
    default: // quotes and backslashes; an escape that nobody knows stands for its character
        return c;
    }
}

class Reader
{
public:
    explicit Reader(QStringView text)
        : m_rest(text)
    {}

    std::optional<Texts> read()
    {
        Texts texts;
        for (;;) {
            if (!skipBlanks())
                return {};
            if (m_rest.isEmpty())
                return texts;
            if (!readEntry(&texts))
                return {};
        }
    }

private:
    bool readEntry(Texts *texts)
    {
        QString key;
        if (!readText(&key) || !skipBlanks())
            return false;
        QString value = key;
        if (take(u'=') && !(skipBlanks() && readText(&value) && skipBlanks()))
            return false;
        if (!take(u';'))
            return false;
        texts->insert(key, value);
        return true;
    }

    // White space and comments. False for a comment without an end.
    bool skipBlanks()
    {
        for (;;) {
            m_rest = m_rest.sliced(blanksAtStart());
            if (m_rest.startsWith(u"//"))
                m_rest = m_rest.sliced(lineAtStart());
            else if (!m_rest.startsWith(u"/*"))
                return true;
            else if (!skipBlockComment())
                return false;
        }
    }

    qsizetype blanksAtStart() const
    {
        qsizetype length = 0;
        while (length < m_rest.size() && m_rest[length].isSpace())
            ++length;
        return length;
    }

    qsizetype lineAtStart() const
    {
        qsizetype length = 0;
        while (length < m_rest.size() && m_rest[length] != u'\n' && m_rest[length] != u'\r')
            ++length;
        return length;
    }

    bool skipBlockComment()
    {
        const qsizetype end = m_rest.indexOf(u"*/", 2);
        if (end < 0)
            return false;
        m_rest = m_rest.sliced(end + 2);
        return true;
    }

    bool take(char16_t c)
    {
        if (m_rest.isEmpty() || m_rest.front() != c)
            return false;
        m_rest = m_rest.sliced(1);
        return true;
    }

    bool readText(QString *text) { return take(u'"') ? readQuoted(text) : readWord(text); }

    bool readWord(QString *text)
    {
        qsizetype length = 0;
        while (length < m_rest.size() && isWordCharacter(m_rest[length]))
            ++length;
        *text = m_rest.first(length).toString();
        m_rest = m_rest.sliced(length);
        return length > 0;
    }

    bool readQuoted(QString *text)
    {
        text->clear();
        for (;;) {
            qsizetype plain = 0;
            while (plain < m_rest.size() && m_rest[plain] != u'"' && m_rest[plain] != u'\\')
                ++plain;
            text->append(m_rest.first(plain));
            m_rest = m_rest.sliced(plain);
            if (take(u'"'))
                return true;
            if (!take(u'\\') || m_rest.isEmpty())
                return false;
            text->append(readEscape());
        }
    }

    QChar readEscape()
    {
        const QChar c = m_rest.front();
        m_rest = m_rest.sliced(1);
        return c == u'U' || c == u'u' ? readCodeUnit(c) : escapedCharacter(c);
    }

    // Up to four hexadecimal digits: one UTF-16 unit, so a pair of escapes makes a character beyond U+FFFF.
    QChar readCodeUnit(QChar letter)
    {
        int unit = 0;
        int digits = 0;
        while (digits < 4 && digits < m_rest.size() && hexDigit(m_rest[digits]) >= 0)
            unit = unit * 16 + hexDigit(m_rest[digits++]);
        m_rest = m_rest.sliced(digits);
        return digits > 0 ? QChar(char16_t(unit)) : letter;
    }

    QStringView m_rest;
};

// UTF-8 unless a byte order mark says otherwise.
std::optional<QString> decoded(const QByteArray &data)
{
    const auto marked = QStringConverter::encodingForData(data);
    QStringDecoder decoder(marked.value_or(QStringConverter::Utf8), QStringConverter::Flag::Stateless);
    QString text = decoder.decode(data);
    if (text.startsWith(QChar(QChar::ByteOrderMark)))
        text.remove(0, 1);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

} // namespace

std::optional<QHash<QString, QString>> DVStringsFileParser::parse(const QByteArray &data)
{
    const auto text = decoded(data);
    return text ? Reader(*text).read() : std::nullopt;
}
