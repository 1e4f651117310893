#include "DVPlaceholderPlaces.h"

#include <optional>

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// The number that a specifier gives itself; nothing when it has none. A width ("%5d") is none.
std::optional<int> ownPlace(QStringView specifier)
{
    if (!specifier.startsWith(u'%'))
        return {};
    QStringView rest = specifier.sliced(1);
    if (rest == u"n" || rest == u"Ln")
        return dv_placeOfCount;
    const bool localized = rest.startsWith(u'L');
    if (localized)
        rest = rest.sliced(1);
    qsizetype digits = 0;
    while (digits < rest.size() && isDigit(rest[digits]))
        ++digits;
    const int number = rest.first(digits).toInt(); // 0 for one that no int holds, too
    const bool isQt = digits == rest.size() && digits <= 2;
    const bool isPrintf = !localized && digits < rest.size() && rest[digits] == u'$';
    return number > 0 && (isQt || isPrintf) ? std::optional(number) : std::nullopt;
}

} // namespace

QList<int> dv_placesOfSpecifiers(const QList<QStringView> &specifiers)
{
    QList<int> places;
    places.reserve(specifiers.size());
    int next = 0;
    for (const QStringView specifier : specifiers) {
        if (specifier.isEmpty())
            places.append(dv_noPlace);
        else if (const auto own = ownPlace(specifier))
            places.append(*own);
        else
            places.append(++next);
    }
    return places;
}
