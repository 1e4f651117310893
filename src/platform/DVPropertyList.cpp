#include "DVPropertyList.h"

#include "DVStringsFileParser.h"

#include <QDateTime>
#include <QVariantList>

#include <plist/plist.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <type_traits>

namespace {

constexpr int depthLimit = 64;
constexpr qint64 secondsFrom1970To2001 = 978307200; // the epoch of property lists

struct FreePlist
{
    void operator()(void *list) const { plist_free(list); }
};
using PlistPointer = std::unique_ptr<std::remove_pointer_t<plist_t>, FreePlist>;

struct FreeMemory
{
    void operator()(void *memory) const { std::free(memory); }
};
template<typename T> using Allocated = std::unique_ptr<T, FreeMemory>;

QVariant variantFromNode(plist_t node, int depth);

QVariantMap mapFromNode(plist_t node, int depth)
{
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(node, &rawIterator);
    const Allocated<void> iterator(rawIterator);
    QVariantMap map;
    for (uint32_t left = plist_dict_get_size(node); left > 0; --left) {
        char *rawKey = nullptr;
        plist_t child = nullptr;
        plist_dict_next_item(node, iterator.get(), &rawKey, &child);
        const Allocated<char> key(rawKey);
        if (!key || !child)
            break;
        map.insert(QString::fromUtf8(key.get()), variantFromNode(child, depth + 1));
    }
    return map;
}

QVariantList listFromNode(plist_t node, int depth)
{
    plist_array_iter rawIterator = nullptr;
    plist_array_new_iter(node, &rawIterator);
    const Allocated<void> iterator(rawIterator);
    QVariantList list;
    for (uint32_t left = plist_array_get_size(node); left > 0; --left) {
        plist_t child = nullptr;
        plist_array_next_item(node, iterator.get(), &child);
        if (!child)
            break;
        list.append(variantFromNode(child, depth + 1));
    }
    return list;
}

QString textFromNode(plist_t node)
{
    char *raw = nullptr;
    plist_get_string_val(node, &raw);
    const Allocated<char> text(raw);
    return QString::fromUtf8(text.get());
}

QByteArray dataFromNode(plist_t node)
{
    char *raw = nullptr;
    uint64_t length = 0;
    plist_get_data_val(node, &raw, &length);
    const Allocated<char> data(raw);
    return data ? QByteArray(data.get(), qsizetype(length)) : QByteArray();
}

QVariant numberFromNode(plist_t node, plist_type type)
{
    if (type == PLIST_BOOLEAN) {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    if (type == PLIST_UINT) {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return qint64(value); // the library gives negative integers as their two's complement
    }
    double value = 0;
    plist_get_real_val(node, &value);
    return value;
}

QDateTime dateFromNode(plist_t node)
{
    int32_t seconds = 0;
    int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return QDateTime::fromMSecsSinceEpoch((secondsFrom1970To2001 + seconds) * 1000 + microseconds / 1000,
                                          Qt::UTC);
}

QVariant variantFromNode(plist_t node, int depth)
{
    if (depth > depthLimit)
        return {};
    const plist_type type = plist_get_node_type(node);
    switch (type) {
    case PLIST_DICT:
        return mapFromNode(node, depth);
    case PLIST_ARRAY:
        return listFromNode(node, depth);
    case PLIST_STRING:
        return textFromNode(node);
    case PLIST_DATA:
        return dataFromNode(node);
    case PLIST_DATE:
        return dateFromNode(node);
    case PLIST_BOOLEAN:
    case PLIST_UINT:
    case PLIST_REAL:
        return numberFromNode(node, type);
    default:
        return {};
    }
}

bool looksLikePropertyList(const QByteArray &data)
{
    static constexpr QByteArrayView utf8Mark("\xEF\xBB\xBF");
    QByteArrayView start(data);
    if (start.startsWith("bplist"))
        return true;
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
    if (!looksLikePropertyList(data) || data.size() > std::numeric_limits<int32_t>::max())
        return {};
    plist_t raw = nullptr;
    if (data.startsWith("bplist"))
        plist_from_bin(data.constData(), uint32_t(data.size()), &raw);
    else
        plist_from_xml(data.constData(), uint32_t(data.size()), &raw);
    const PlistPointer list(raw);
    if (!list || plist_get_node_type(list.get()) != PLIST_DICT)
        return {};
    return mapFromNode(list.get(), 0);
}

std::optional<QHash<QString, QString>> dv_stringsFileFromData(const QByteArray &data)
{
    if (!looksLikePropertyList(data))
        return DVStringsFileParser::parse(data);
    const auto map = dv_propertyListFromData(data);
    return map ? std::optional(textsOf(*map)) : std::nullopt;
}
