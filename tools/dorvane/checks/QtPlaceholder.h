// Qt's own placeholders: %1 to %99, %L1 to %L99, %n, %Ln.
#pragma once

#include <QByteArrayView>
#include <QStringView>

#include <type_traits>

// The length of the placeholder at the start of a text in UTF-16 or UTF-8, 0 when there is none. `numberAt`
// is where its number or its "n" stands.
template<typename View> qsizetype qtPlaceholderLength(View text, qsizetype *numberAt = nullptr)
{
    const auto at = [text](qsizetype i) -> char16_t {
        if (i >= text.size())
            return u'\0';
        if constexpr (std::is_same_v<View, QStringView>)
            return text[i].unicode();
        else
            return uchar(text[i]);
    };
    if (at(0) != u'%')
        return 0;
    const qsizetype first = at(1) == u'L' ? 2 : 1;
    if (numberAt)
        *numberAt = first;
    if (at(first) == u'n')
        return first + 1;
    if (at(first) < u'1' || at(first) > u'9')
        return 0;
    return at(first + 1) >= u'0' && at(first + 1) <= u'9' ? first + 2 : first + 1;
}
