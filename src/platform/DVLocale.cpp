#include <Dorvane/DVLocale.h>

#include <algorithm>

namespace {

bool isSeparator(QChar c)
{
    return c == u'_' || c == u'-';
}

bool isAsciiLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isAsciiDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isRegion(QStringView subtag)
{
    return (subtag.size() == 2 && std::all_of(subtag.begin(), subtag.end(), isAsciiLetter)) ||
           (subtag.size() == 3 && std::all_of(subtag.begin(), subtag.end(), isAsciiDigit));
}

// POSIX appends ".encoding" and "@modifier", ICU "@keywords"; neither is a subtag.
QStringView subtagsOf(QStringView identifier)
{
    const auto end =
        std::find_if(identifier.begin(), identifier.end(), [](QChar c) { return c == u'.' || c == u'@'; });
    return identifier.first(end - identifier.begin());
}

} // namespace

DVLocale::DVLocale(const QString &localeIdentifier)
    : m_identifier(localeIdentifier)
{}

QString DVLocale::languageCode() const
{
    const QStringView subtags = subtagsOf(m_identifier);
    const auto end = std::find_if(subtags.begin(), subtags.end(), isSeparator);
    return subtags.first(end - subtags.begin()).toString();
}

QString DVLocale::countryCode() const
{
    QStringView rest = subtagsOf(m_identifier);
    auto separator = std::find_if(rest.begin(), rest.end(), isSeparator);
    while (separator != rest.end()) {
        rest = rest.sliced(separator - rest.begin() + 1);
        separator = std::find_if(rest.begin(), rest.end(), isSeparator);
        const QStringView subtag = rest.first(separator - rest.begin());
        if (subtag.size() == 1) // a singleton: extensions follow (RFC 5646, 2.2.6)
            return {};
        if (isRegion(subtag))
            return subtag.toString().toUpper();
    }
    return {};
}
