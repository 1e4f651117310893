#include "DVPropertyListReaders.h"

#include <QDateTime>
#include <QtEndian>

#include <bit>
#include <cmath>
#include <vector>

// The form "bplist00": the signature, objects, a table of the objects' offsets, and a trailer of 32
// bytes that says where the table is. Objects refer to each other by their numbers in the table.
// All numbers are big endian.

namespace {

constexpr quint64 signatureSize = 8;
constexpr quint64 trailerSize = 32;
constexpr quint64 maximumCount = 4'000'000;         // each costs about 40 bytes of memory before it is read
constexpr double secondsFrom1970To2001 = 978307200; // the epoch of property lists

class BinaryReader
{
public:
    explicit BinaryReader(const QByteArray &data)
        : m_data(data)
        , m_budget(quint64(data.size()))
    {}

    std::optional<QVariantMap> read()
    {
        QVariant top;
        if (!readTrailer() || !readObject(m_top, 0, &top) || top.typeId() != QMetaType::QVariantMap)
            return {};
        return top.toMap();
    }

private:
    // What a marker byte announces: where the content begins and how many bytes or members it has.
    struct Content
    {
        quint64 start = 0;
        quint64 count = 0;
    };

    bool readTrailer()
    {
        if (!m_data.startsWith("bplist00") || quint64(m_data.size()) < signatureSize + trailerSize)
            return false;
        const quint64 trailer = quint64(m_data.size()) - trailerSize;
        m_offsetSize = number(trailer + 6, 1);
        m_referenceSize = number(trailer + 7, 1);
        m_count = number(trailer + 8, 8);
        m_top = number(trailer + 16, 8);
        m_table = number(trailer + 24, 8);
        if (m_offsetSize < 1 || m_offsetSize > 8 || m_referenceSize < 1 || m_referenceSize > 8)
            return false;
        if (m_table < signatureSize || m_table > trailer || m_count > (trailer - m_table) / m_offsetSize)
            return false;
        if (m_count > m_table - signatureSize || m_count > maximumCount) // an object takes a byte or more
            return false;
        m_known.resize(m_count);
        return true;
    }

    // The caller has checked that the bytes exist; up to eight of them.
    quint64 number(quint64 offset, quint64 size) const
    {
        quint64 value = 0;
        for (quint64 i = 0; i < size; ++i)
            value = value << 8 | quint8(m_data[qsizetype(offset + i)]);
        return value;
    }

    // Objects of a sound file do not overlap, so together they are no larger than the file. Holding
    // every file to that keeps the time linear.
    bool claim(quint64 offset, quint64 size)
    {
        if (offset > m_table || size > m_table - offset || size > m_budget)
            return false;
        m_budget -= size;
        return true;
    }

    // Each object is read once, however many refer to it.
    bool readObject(quint64 index, int depth, QVariant *value)
    {
        if (index >= m_count || depth > dv_propertyListDepthLimit)
            return false;
        auto &known = m_known[index];
        if (!known) {
            QVariant fresh;
            if (!readFresh(number(m_table + index * m_offsetSize, m_offsetSize), depth, &fresh))
                return false;
            known = std::move(fresh);
        }
        *value = *known;
        return true;
    }

    bool readFresh(quint64 offset, int depth, QVariant *value)
    {
        if (offset < signatureSize || !claim(offset, 1))
            return false;
        const auto marker = quint8(m_data[qsizetype(offset)]);
        const quint8 low = marker & 0x0f;
        switch (marker >> 4) {
        case 0x0:
            return readConstant(low, value);
        case 0x1:
        case 0x2:
        case 0x3:
        case 0x8:
            return readNumber(marker, offset + 1, value);
        case 0x4:
        case 0x5:
        case 0x6:
            return readBytes(marker >> 4, contentAt(offset, low), value);
        case 0xA:
        case 0xC:
            return readList(contentAt(offset, low), depth, value);
        case 0xD:
            return readMap(contentAt(offset, low), depth, value);
        default:
            return false;
        }
    }

    static bool readConstant(quint8 low, QVariant *value)
    {
        if (low == 0x8 || low == 0x9)
            *value = low == 0x9;
        return low == 0x0 || low == 0x8 || low == 0x9;
    }

    bool readNumber(quint8 marker, quint64 offset, QVariant *value)
    {
        const int kind = marker >> 4;
        const quint64 size = kind == 0x8 ? (marker & 0x0fu) + 1u : 1u << (marker & 0x07u);
        if (size > 16 || !claim(offset, size))
            return false;
        const quint64 bits = size > 8 ? number(offset + size - 8, 8) : number(offset, size);
        if (kind == 0x1 || kind == 0x8)
            *value = qint64(bits); // shorter ones are unsigned
        else if (size == 4 && kind == 0x2)
            *value = double(std::bit_cast<float>(quint32(bits)));
        else if (size == 8)
            *value = kind == 0x2 ? QVariant(std::bit_cast<double>(bits))
                                 : QVariant(date(std::bit_cast<double>(bits)));
        else
            return false;
        return true;
    }

    static QDateTime date(double seconds)
    {
        constexpr double reach = 1e11; // some thousands of years
        if (!(std::abs(seconds) < reach))
            return {};
        return QDateTime::fromMSecsSinceEpoch(qint64((secondsFrom1970To2001 + seconds) * 1000), Qt::UTC);
    }

    // A low half of 15 says that the count follows as an integer object.
    std::optional<Content> contentAt(quint64 offset, quint8 low)
    {
        if (low != 0x0f)
            return Content{offset + 1, low};
        if (!claim(offset + 1, 1))
            return {};
        const auto marker = quint8(m_data[qsizetype(offset + 1)]);
        const quint64 size = 1u << (marker & 0x0fu);
        if (marker >> 4 != 0x1 || size > 8 || !claim(offset + 2, size))
            return {};
        return Content{offset + 2 + size, number(offset + 2, size)};
    }

    bool readBytes(int kind, std::optional<Content> content, QVariant *value)
    {
        const quint64 width = kind == 0x6 ? 2 : 1;
        if (!content || content->count > m_table || !claim(content->start, content->count * width))
            return false;
        const auto bytes = m_data.sliced(qsizetype(content->start), qsizetype(content->count * width));
        if (kind == 0x4)
            *value = bytes.toByteArray();
        else if (kind == 0x5)
            *value = QString::fromLatin1(bytes);
        else
            *value = utf16(bytes);
        return true;
    }

    static QString utf16(QByteArrayView bytes)
    {
        QString text(bytes.size() / 2, Qt::Uninitialized);
        for (qsizetype i = 0; i < text.size(); ++i)
            text[i] = QChar(qFromBigEndian<char16_t>(bytes.data() + 2 * i));
        return text;
    }

    bool readList(std::optional<Content> content, int depth, QVariant *value)
    {
        if (!content || content->count > m_table || !claim(content->start, content->count * m_referenceSize))
            return false;
        QVariantList list;
        for (quint64 i = 0; i < content->count; ++i) {
            QVariant member;
            if (!readObject(reference(content->start, i), depth + 1, &member))
                return false;
            list.append(member);
        }
        *value = list;
        return true;
    }

    // First the references to all keys, then those to all values.
    bool readMap(std::optional<Content> content, int depth, QVariant *value)
    {
        if (!content || content->count > m_table ||
            !claim(content->start, 2 * content->count * m_referenceSize))
            return false;
        QVariantMap map;
        for (quint64 i = 0; i < content->count; ++i) {
            QVariant key;
            QVariant member;
            if (!readObject(reference(content->start, i), depth + 1, &key) ||
                key.typeId() != QMetaType::QString ||
                !readObject(reference(content->start, content->count + i), depth + 1, &member))
                return false;
            map.insert(key.toString(), member);
        }
        *value = map;
        return true;
    }

    quint64 reference(quint64 start, quint64 index) const
    {
        return number(start + index * m_referenceSize, m_referenceSize);
    }

    const QByteArrayView m_data;
    quint64 m_budget; // bytes of objects that may still be read
    quint64 m_offsetSize = 0;
    quint64 m_referenceSize = 0;
    quint64 m_count = 0;
    quint64 m_top = 0;
    quint64 m_table = 0; // where the objects end
    std::vector<std::optional<QVariant>> m_known;
};

} // namespace

std::optional<QVariantMap> dv_mapFromBinaryPropertyList(const QByteArray &data)
{
    return BinaryReader(data).read();
}
