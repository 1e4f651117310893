// UTF-8 and UTF-16 without the loss of a byte order mark that Qt's own functions take out of a text.
#pragma once

#include <QString>
#include <QStringConverter>

#include <string_view>

// Null for a view of nothing; each malformed sequence becomes a replacement character.
inline QString dv_stringFromUtf8(std::string_view text)
{
    if (!text.data())
        return {};
    QStringDecoder decoder(QStringConverter::Utf8,
                           QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    QString result = decoder(QByteArrayView(text.data(), qsizetype(text.size())));
    return result.isNull() ? QStringLiteral("") : result;
}

// Writes at most three bytes for each unit. Returns the end, or null for a text with half a surrogate
// pair, which has no UTF-8.
inline char *dv_writeUtf8(QStringView text, char *out)
{
    const auto put = [&out](char32_t byte) { *out++ = char(byte); };
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text[i].unicode();
        if (c < 0x80) {
            put(c);
            continue;
        }
        if (c < 0x800) {
            put(0xC0 | c >> 6);
            put(0x80 | (c & 0x3F));
            continue;
        }
        if (QChar::isSurrogate(c)) {
            if (!QChar::isHighSurrogate(c) || i + 1 == text.size() || !text[i + 1].isLowSurrogate())
                return nullptr;
            c = QChar::surrogateToUcs4(char16_t(c), text[++i].unicode());
            put(0xF0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3F));
        } else {
            put(0xE0 | c >> 12);
        }
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    }
    return out;
}
