// Strings files and property lists: whatever is read can be written again in another form, by writers of
// this file, and reads as the same. Input: the file's bytes.
#include "FuzzTarget.h"

#include <DVPropertyList.h>

#include <QDateTime>
#include <QStringConverter>

#include <bit>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace {

using Texts = QHash<QString, QString>;

// ---- the text form, all but ASCII as escapes ----

QString quoted(const QString &text)
{
    QString result = QStringLiteral("\"");
    for (const QChar c : text) {
        if (c >= u' ' && c < u'\x7F' && c != u'"' && c != u'\\')
            result += c;
        else
            result += QStringLiteral("\\U%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
    }
    return QString(result + u'"');
}

QString asText(const Texts &texts)
{
    QString result;
    for (auto it = texts.begin(); it != texts.end(); ++it)
        result += quoted(it.key()) + u"=" + quoted(it.value()) + u"; // \"\n";
    return result;
}

QByteArray inUtf16(const QString &text, QStringConverter::Encoding encoding)
{
    QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
    return encoder.encode(text);
}

void checkTexts(const Texts &texts)
{
    const QString text = asText(texts);
    FUZZ_CHECK(dv_stringsFileFromData(text.toLatin1()) == texts);
    for (const auto encoding : {QStringConverter::Utf16LE, QStringConverter::Utf16BE})
        FUZZ_CHECK(dv_stringsFileFromData(inUtf16(text, encoding)) == texts);
}

// ---- the binary form ----

class BinaryWriter
{
public:
    explicit BinaryWriter(qsizetype mostBytes)
        : m_mostBytes(mostBytes)
    {}

    // Null when objects that many others refer to would make it much larger than what was read.
    std::optional<QByteArray> write(const QVariantMap &map)
    {
        if (!add(map))
            return std::nullopt;
        constexpr quint8 trailerBlanks[6] = {};
        const quint64 table = 8 + quint64(m_objects.size());
        QByteArray file = "bplist00" + m_objects;
        for (const quint64 offset : m_offsets)
            appendNumber(file, offset, 8);
        file.append(reinterpret_cast<const char *>(trailerBlanks), 6).append('\x08').append('\x04');
        appendNumber(file, m_offsets.size(), 8);
        appendNumber(file, m_offsets.size() - 1, 8);
        appendNumber(file, table, 8);
        return file;
    }

private:
    static void appendNumber(QByteArray &bytes, quint64 value, int size)
    {
        for (int i = size - 1; i >= 0; --i)
            bytes.append(char(value >> (8 * i)));
    }

    // The object's number; members stand before what holds them.
    std::optional<quint64> add(const QVariant &value)
    {
        std::vector<quint64> references;
        if (!addMembers(value, &references) || m_objects.size() > m_mostBytes)
            return std::nullopt;
        m_offsets.push_back(8 + quint64(m_objects.size()));
        appendObject(value);
        for (const quint64 reference : references)
            appendNumber(m_objects, reference, 4);
        return m_offsets.size() - 1;
    }

    bool addMembers(const QVariant &value, std::vector<quint64> *references)
    {
        QVariantList members;
        if (value.typeId() == QMetaType::QVariantMap) {
            const QVariantMap map = value.toMap();
            for (const QString &key : map.keys())
                members.append(key);
            members += map.values();
        } else if (value.typeId() == QMetaType::QVariantList) {
            members = value.toList();
        }
        for (const QVariant &member : std::as_const(members)) {
            const auto number = add(member);
            if (!number)
                return false;
            references->push_back(*number);
        }
        return true;
    }

    void appendMarker(int kind, qsizetype count)
    {
        m_objects.append(char(kind << 4 | 0xf)).append('\x13');
        appendNumber(m_objects, quint64(count), 8);
    }

    void appendReal(quint8 marker, double value)
    {
        m_objects.append(char(marker));
        appendNumber(m_objects, std::bit_cast<quint64>(value), 8);
    }

    // Whole seconds: the form counts them in floating point. Years beyond its reader's reach are not dates.
    void appendDate(const QDateTime &date)
    {
        constexpr qint64 secondsFrom1970To2001 = 978307200;
        constexpr double reach = 1e11;
        const auto seconds = double(date.toSecsSinceEpoch() - secondsFrom1970To2001);
        const bool isDate = date.isValid() && std::abs(seconds) < reach;
        appendReal(0x33, isDate ? seconds : std::numeric_limits<double>::quiet_NaN());
    }

    void appendObject(const QVariant &value)
    {
        switch (value.typeId()) {
        case QMetaType::UnknownType:
            m_objects.append('\0');
            break;
        case QMetaType::Bool:
            m_objects.append(value.toBool() ? '\x09' : '\x08');
            break;
        case QMetaType::LongLong:
            m_objects.append('\x13');
            appendNumber(m_objects, quint64(value.toLongLong()), 8);
            break;
        case QMetaType::Double:
            appendReal(0x23, value.toDouble());
            break;
        case QMetaType::QDateTime:
            appendDate(value.toDateTime());
            break;
        case QMetaType::QByteArray:
            appendMarker(0x4, value.toByteArray().size());
            m_objects.append(value.toByteArray());
            break;
        case QMetaType::QString:
            appendMarker(0x6, value.toString().size());
            for (const QChar c : value.toString())
                appendNumber(m_objects, c.unicode(), 2);
            break;
        case QMetaType::QVariantList:
            appendMarker(0xA, value.toList().size());
            break;
        case QMetaType::QVariantMap:
            appendMarker(0xD, value.toMap().size());
            break;
        default:
            fuzzCheckFailed("a value is of a type that property lists have", __FILE__, __LINE__);
        }
    }

    const qsizetype m_mostBytes;
    QByteArray m_objects;
    std::vector<quint64> m_offsets;
};

void checkPropertyList(const QVariantMap &map, qsizetype size)
{
    const qsizetype mostBytes = 1000 + 16 * size;
    const auto written = BinaryWriter(mostBytes).write(map);
    if (!written)
        return;
    const auto again = dv_propertyListFromData(*written);
    FUZZ_CHECK(again && again->size() == map.size());
    FUZZ_CHECK(BinaryWriter(mostBytes).write(*again) == written);
}

} // namespace

void fuzz_stringsfile(QByteArrayView input)
{
    const QByteArray data = input.toByteArray();
    if (const auto texts = dv_stringsFileFromData(data))
        checkTexts(*texts);
    if (const auto map = dv_propertyListFromData(data))
        checkPropertyList(*map, data.size());
}
