#include "Placeholder.h"

#include "QtPlaceholder.h"

#include <optional>

namespace {

Placeholder::Kind kindOf(QChar conversion)
{
    switch (conversion.unicode()) {
    case u'd':
    case u'D':
    case u'i':
    case u'u':
    case u'U':
    case u'x':
    case u'X':
    case u'o':
    case u'O':
        return Placeholder::Integer;
    case u'f':
    case u'F':
    case u'e':
    case u'E':
    case u'g':
    case u'G':
    case u'a':
    case u'A':
        return Placeholder::Floating;
    case u's':
    case u'S':
        return Placeholder::Text;
    case u'@':
        return Placeholder::Object;
    case u'c':
    case u'C':
        return Placeholder::Character;
    case u'p':
        return Placeholder::Pointer;
    default:
        return Placeholder::None;
    }
}

qsizetype countOf(QStringView text, qsizetype from, QStringView characters)
{
    qsizetype end = from;
    while (end < text.size() && characters.contains(text[end]))
        ++end;
    return end - from;
}

std::optional<Placeholder> qtPlaceholder(QStringView text)
{
    qsizetype numberAt = 0;
    const qsizetype length = qtPlaceholderLength(text, &numberAt);
    if (length == 0)
        return std::nullopt;
    Placeholder found;
    found.written = text.first(length);
    found.style = text[numberAt] == u'n' ? Placeholder::Count : Placeholder::Numbered;
    if (found.style == Placeholder::Numbered)
        found.number = found.written.sliced(numberAt).toInt();
    return found;
}

// %[n$][flags][width][.precision][length]conversion (POSIX printf), and "%@". A blank is no flag here:
// "50 % of" is no format.
std::optional<Placeholder> formatPlaceholder(QStringView text)
{
    constexpr QStringView digits = u"0123456789";
    Placeholder found;
    qsizetype at = 1;
    const qsizetype numberLength = countOf(text, at, digits);
    if (numberLength > 0 && at + numberLength < text.size() && text[at + numberLength] == u'$') {
        found.number = text.sliced(at, numberLength).toInt();
        at += numberLength + 1;
    }
    at += countOf(text, at, u"-+#0'");
    at += countOf(text, at, digits);
    if (at < text.size() && text[at] == u'.')
        at += 1 + countOf(text, at + 1, digits);
    at += countOf(text, at, u"hljztLq");
    if (at >= text.size() || kindOf(text[at]) == Placeholder::None)
        return std::nullopt;
    found.style = Placeholder::Format;
    found.kind = kindOf(text[at]);
    found.ordered = found.number == 0;
    found.written = text.first(at + 1);
    return found;
}

std::optional<Placeholder> literalPercent(QStringView text)
{
    if (!text.startsWith(u"%%") && text != u"%")
        return std::nullopt;
    Placeholder literal;
    literal.style = Placeholder::Literal;
    literal.written = text.first(text.size() > 1 ? 2 : 1);
    return literal;
}

// All of `text`, which begins with a percent sign.
std::optional<Placeholder> wholePlaceholder(QStringView text)
{
    for (const auto &found : {literalPercent(text), formatPlaceholder(text), qtPlaceholder(text)}) {
        if (found && found->written.size() == text.size())
            return found;
    }
    return std::nullopt;
}

// What the text begins with: of "%1d" Qt takes "%1", of "%1$d" only printf knows what it is.
std::optional<Placeholder> loosePlaceholder(QStringView text)
{
    if (const auto literal = literalPercent(text))
        return literal;
    const auto format = formatPlaceholder(text);
    if (format && !format->ordered)
        return format;
    const auto qt = qtPlaceholder(text);
    return qt ? qt : format;
}

// Outside elements a percent sign may be meant to be read: "100%d'accord" takes no argument.
bool isPlainlyMeant(QStringView text, qsizetype at, const Placeholder &found)
{
    if (found.style == Placeholder::Literal)
        return false;
    const qsizetype end = at + found.written.size();
    const bool isOpen = found.style == Placeholder::Format && found.kind != Placeholder::Object;
    const bool runsOn = end < text.size() && (text[end].isLetterOrNumber() || text[end] == u'\'');
    return !isOpen || (!runsOn && (at == 0 || !text[at - 1].isDigit()));
}

class Finder
{
public:
    explicit Finder(const CheckedText &text)
        : m_text(text.text())
    {
        qsizetype from = 0;
        for (const auto &[begin, end] : text.placeholderElements) {
            findLoose(from, begin);
            findInElement(begin, end);
            from = end;
        }
        findLoose(from, m_text.size());
    }

    std::vector<Placeholder> found;

private:
    void add(Placeholder placeholder, qsizetype begin, bool inElement)
    {
        if (found.size() == mostPlaceholders)
            return;
        if (placeholder.style == Placeholder::Format && placeholder.number == 0)
            placeholder.number = ++m_ordered;
        placeholder.begin = begin;
        placeholder.inElement = inElement;
        found.push_back(placeholder);
    }
    void findInElement(qsizetype begin, qsizetype end)
    {
        const QStringView content = m_text.sliced(begin, end - begin);
        const auto placeholder = content.startsWith(u'%') ? wholePlaceholder(content) : std::nullopt;
        if (placeholder)
            return add(*placeholder, begin, true);
        Placeholder other;
        other.written = content;
        if (!content.trimmed().isEmpty())
            add(other, begin, true);
    }
    void findLoose(qsizetype begin, qsizetype end)
    {
        const QStringView piece = m_text.first(end);
        for (qsizetype at = piece.indexOf(u'%', begin); at >= 0; at = piece.indexOf(u'%', at)) {
            const auto placeholder = loosePlaceholder(piece.sliced(at));
            if (placeholder && isPlainlyMeant(piece, at, *placeholder))
                add(*placeholder, at, false);
            at += placeholder ? placeholder->written.size() : 1;
        }
    }

    QStringView m_text;
    int m_ordered = 0;
};

} // namespace

std::vector<Placeholder> placeholdersIn(const CheckedText &text)
{
    if (text.placeholderElements.empty() && !text.text().contains(u'%'))
        return {};
    return Finder(text).found;
}
