#include "DVPropertyList.h"

#include "DVPropertyListReaders.h"
#include "DVStringsFileParser.h"

namespace {

bool isBinary(const QByteArray &data)
{
    return data.startsWith("bplist");
}

bool looksLikeXml(const QByteArray &data)
{
    static constexpr QByteArrayView utf8Mark("\xEF\xBB\xBF");
    QByteArrayView start(data);
    if (start.startsWith(utf8Mark))
        start = start.sliced(utf8Mark.size());
    start = start.trimmed();
    return start.startsWith("<?xml") || start.startsWith("<!DOCTYPE") || start.startsWith("<plist");
}

QHash<QString, QString> textsOf(const QVariantMap &map)
{
    QHash<QString, QString> texts;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        if (entry.value().typeId() == QMetaType::QString)
            texts.insert(entry.key(), entry.value().toString());
    }
    return texts;
}

} // namespace

std::optional<QVariantMap> dv_propertyListFromData(const QByteArray &data)
{
    if (isBinary(data))
        return dv_mapFromBinaryPropertyList(data);
    return looksLikeXml(data) ? dv_mapFromXmlPropertyList(data) : std::nullopt;
}

std::optional<QHash<QString, QString>> dv_stringsFileFromData(const QByteArray &data)
{
    if (!isBinary(data) && !looksLikeXml(data))
        return DVStringsFileParser::parse(data);
    const auto map = dv_propertyListFromData(data);
    return map ? std::optional(textsOf(*map)) : std::nullopt;
}
