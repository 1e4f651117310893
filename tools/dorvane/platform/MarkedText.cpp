#include "MarkedText.h"

#include "XmlCharacters.h"

#include <DVUtf8.h>

#include <QJsonArray>
#include <QJsonObject>

#include <functional>

namespace {

constexpr QChar stringStart(0x200B);
constexpr QChar stringEnd(0x2062);
constexpr QChar placeholderStart(0x2063);
constexpr QChar placeholderEnd(0x2064);

// Calls `found` for each piece, in their order. Markers that have no partner are passed over.
void eachPiece(const QString &text, const std::function<void(const QString &, bool isPlaceholder)> &found)
{
    qsizetype at = 0;
    while (at < text.size()) {
        const qsizetype start = text.indexOf(placeholderStart, at);
        const qsizetype end = start < 0 ? -1 : text.indexOf(placeholderEnd, start);
        const QString before = text.mid(at, end < 0 ? -1 : start - at);
        if (!before.isEmpty())
            found(before, false);
        if (end < 0)
            return;
        found(text.mid(start + 1, end - start - 1), true);
        at = end + 1;
    }
}

QString withoutMarkers(QString text)
{
    return text.remove(placeholderStart).remove(placeholderEnd);
}

} // namespace

QString markedText(std::string_view read)
{
    QString text = dv_stringFromUtf8(read);
    if (text.startsWith(stringStart))
        text.remove(0, 1);
    if (text.endsWith(stringEnd))
        text.chop(1);
    text.remove(QString(stringEnd) + stringStart); // between two targets of one unit
    return text.isNull() ? QStringLiteral("") : text;
}

QByteArray xliffOfMarkedText(const QString &text)
{
    QByteArray result;
    int number = 0;
    eachPiece(text, [&](const QString &piece, bool isPlaceholder) {
        const QByteArray content = xmlContent(withoutMarkers(piece));
        if (isPlaceholder)
            result += "<ph id=\"" + QByteArray::number(++number) + "\">" + content + "</ph>";
        else
            result += content;
    });
    return result;
}

QJsonValue jsonOfMarkedText(const QString &text)
{
    QJsonArray pieces;
    bool hasPlaceholder = false;
    eachPiece(text, [&](const QString &piece, bool isPlaceholder) {
        hasPlaceholder = hasPlaceholder || isPlaceholder;
        if (isPlaceholder)
            pieces.append(QJsonObject{{QStringLiteral("ph"), piece}});
        else
            pieces.append(piece);
    });
    return hasPlaceholder ? QJsonValue(pieces) : QJsonValue(text);
}

std::optional<QString> markedTextOfJson(const QJsonValue &json)
{
    if (json.isString())
        return withoutMarkers(json.toString());
    if (!json.isArray())
        return {};
    QString text;
    const QJsonArray pieces = json.toArray();
    for (const QJsonValue piece : pieces) {
        const QJsonValue placeholder = piece.toObject().value(QStringLiteral("ph"));
        if (!piece.isString() && !placeholder.isString())
            return {};
        if (piece.isString())
            text += withoutMarkers(piece.toString());
        else
            text += placeholderStart + withoutMarkers(placeholder.toString()) + placeholderEnd;
    }
    return text;
}

bool hasMarkers(std::string_view text)
{
    // U+2062, U+2063 and U+2064 in UTF-8.
    for (const std::string_view marker : {"\xE2\x81\xA2", "\xE2\x81\xA3", "\xE2\x81\xA4"}) {
        if (text.find(marker) != std::string_view::npos)
            return true;
    }
    return false;
}
