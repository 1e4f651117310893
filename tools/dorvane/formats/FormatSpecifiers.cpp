#include "FormatSpecifiers.h"

#include <algorithm>

namespace {

// Walks over the pieces of a printf-style specifier.
class Walk
{
public:
    explicit Walk(QStringView text)
        : m_text(text)
    {}

    qsizetype position() const { return m_position; }
    char16_t current() const { return m_position < m_text.size() ? m_text[m_position].unicode() : u'\0'; }
    void step() { ++m_position; }
    void skipAnyOf(QStringView characters)
    {
        while (m_position < m_text.size() && characters.contains(m_text[m_position]))
            ++m_position;
    }
    void skipDigits() { skipAnyOf(u"0123456789"); }
    void skipNumberOrStar()
    {
        if (current() == u'*')
            step();
        else
            skipDigits();
    }
    // "1$"
    void skipArgumentNumber()
    {
        const qsizetype begin = m_position;
        skipDigits();
        if (m_position > begin && current() == u'$')
            step();
        else
            m_position = begin;
    }

private:
    QStringView m_text;
    qsizetype m_position = 1;
};

// The length of Qt's placeholder at the start of `text`, 0 when there is none.
qsizetype qtPlaceholderLength(QStringView text)
{
    const auto at = [text](qsizetype i) { return i < text.size() ? text[i].unicode() : u'\0'; };
    const auto isDigit = [](char16_t c, char16_t lowest) { return c >= lowest && c <= u'9'; };
    const qsizetype first = at(1) == u'L' ? 2 : 1;
    if (at(first) == u'n')
        return first + 1;
    if (!isDigit(at(first), u'1'))
        return 0;
    return isDigit(at(first + 1), u'0') ? first + 2 : first + 1;
}

// The length of the specifier at the start of `text`, 0 when there is none. C11, 7.21.6.1.
qsizetype printfLength(QStringView text)
{
    Walk walk(text);
    walk.skipArgumentNumber();
    walk.skipAnyOf(u"-+#0'");
    walk.skipNumberOrStar();
    if (walk.current() == u'.') {
        walk.step();
        walk.skipNumberOrStar();
    }
    walk.skipAnyOf(u"hlqjzt");
    if (walk.current() == u'L')
        walk.step();
    return QStringView(u"@dDiuUxXoOfeEgGcCsSpaAF").contains(QChar(walk.current())) ? walk.position() + 1 : 0;
}

FormatSpecifier specifierAt(QStringView text, qsizetype begin)
{
    const QStringView rest = text.sliced(begin);
    // "%1$d" begins like Qt's "%1".
    const qsizetype printf = printfLength(rest);
    const qsizetype qt = qtPlaceholderLength(rest);
    if (qt > 0 && !(printf > qt && rest.first(printf).contains(u'$')))
        return {begin, qt, 0};
    return {begin, printf, printf > 0 ? rest[printf - 1].unicode() : char16_t(0)};
}

} // namespace

QList<FormatSpecifier> formatSpecifiersIn(QStringView text)
{
    QList<FormatSpecifier> found;
    for (qsizetype i = text.indexOf(u'%'); i >= 0; i = text.indexOf(u'%', i)) {
        const bool isDouble = text.sliced(i).startsWith(u"%%");
        const FormatSpecifier specifier = isDouble ? FormatSpecifier{i, 2, u'%'} : specifierAt(text, i);
        if (specifier.length > 0)
            found.append(specifier);
        i += std::max<qsizetype>(specifier.length, 1);
    }
    const bool isFormat = std::any_of(found.cbegin(), found.cend(), [](const FormatSpecifier &specifier) {
        return specifier.conversion != 0 && specifier.conversion != u'%';
    });
    if (!isFormat)
        found.removeIf([](const FormatSpecifier &specifier) { return specifier.conversion == u'%'; });
    return found;
}
