#include "PngCheck.h"

#include <QtEndian>

#include <array>
#include <memory>
#include <optional>
#include <zlib.h>

namespace {

constexpr qint64 mostPixels = qint64(64) << 20;
constexpr qsizetype chunkFrame = 12; // length, type, sum
constexpr qsizetype headerLength = 13;

struct Picture
{
    quint32 width = 0;
    quint32 height = 0;
    int bitsPerPixel = 0;
    bool interlaced = false;
};

// Samples for each pixel by colour type; 0: there is no such type.
int samplesOf(int colourType)
{
    constexpr std::array<int, 7> samples{1, 0, 3, 1, 2, 0, 4};
    return colourType < int(samples.size()) ? samples[size_t(colourType)] : 0;
}

bool isDepthOf(int colourType, int depth)
{
    const bool isFine = depth == 1 || depth == 2 || depth == 4;
    return depth == 8 || (depth == 16 && colourType != 3) || (isFine && (colourType == 0 || colourType == 3));
}

std::optional<Picture> pictureOf(const QByteArray &header)
{
    if (header.size() != headerLength)
        return {};
    const auto byte = [&header](qsizetype at) { return int(uchar(header[at])); };
    const int samples = samplesOf(byte(9));
    const Picture picture{qFromBigEndian<quint32>(header.constData()),
                          qFromBigEndian<quint32>(header.constData() + 4), samples * byte(8), byte(12) == 1};
    const bool isGood = samples > 0 && isDepthOf(byte(9), byte(8)) && byte(10) == 0 && byte(11) == 0 &&
                        byte(12) <= 1 && picture.width > 0 && picture.height > 0 &&
                        picture.width <= 0x7FFFFFFF && picture.height <= 0x7FFFFFFF;
    return isGood ? std::optional(picture) : std::nullopt;
}

// Each line begins with the number of its filter.
qint64 bytesOfLines(qint64 width, qint64 height, int bitsPerPixel)
{
    return width == 0 ? 0 : height * (1 + (width * bitsPerPixel + 7) / 8);
}

qint64 bytesOfPixels(const Picture &picture)
{
    if (!picture.interlaced)
        return bytesOfLines(picture.width, picture.height, picture.bitsPerPixel);
    // The seven passes: first column, first line, and the steps from one to the next.
    struct Pass
    {
        int x, y, stepX, stepY;
    };
    constexpr std::array<Pass, 7> passes{
        {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}}};
    qint64 bytes = 0;
    for (const Pass &pass : passes)
        bytes += bytesOfLines((qint64(picture.width) - pass.x + pass.stepX - 1) / pass.stepX,
                              (qint64(picture.height) - pass.y + pass.stepY - 1) / pass.stepY,
                              picture.bitsPerPixel);
    return bytes;
}

// Counts what the pixels' stream holds, and keeps nothing of it.
class PixelCounter
{
public:
    PixelCounter() { m_isGood = inflateInit(&m_stream) == Z_OK; }
    ~PixelCounter() { inflateEnd(&m_stream); }
    Q_DISABLE_COPY_MOVE(PixelCounter)

    // False when the stream is damaged, or holds more than `limit` bytes.
    bool add(const QByteArray &bytes, qint64 limit)
    {
        std::array<Bytef, 32768> scrap{};
        m_stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.constData()));
        m_stream.avail_in = uInt(bytes.size());
        while (m_isGood && !m_isWhole && m_stream.avail_in > 0) {
            m_stream.next_out = scrap.data();
            m_stream.avail_out = uInt(scrap.size());
            const int result = inflate(&m_stream, Z_NO_FLUSH);
            m_count += qint64(scrap.size() - m_stream.avail_out);
            m_isWhole = result == Z_STREAM_END;
            m_isGood = (result == Z_OK || m_isWhole) && m_count <= limit;
        }
        return m_isGood;
    }
    bool isWhole() const { return m_isGood && m_isWhole; }
    qint64 count() const { return m_count; }

private:
    z_stream m_stream{};
    bool m_isGood = false;
    bool m_isWhole = false;
    qint64 m_count = 0;
};

class Checker
{
public:
    // Null, or what is wrong with the chunk.
    QString add(const QByteArray &type, const QByteArray &content)
    {
        if (!m_picture) {
            m_picture = type == "IHDR" ? pictureOf(content) : std::nullopt;
            if (!m_picture)
                return QStringLiteral("its header is damaged");
            if (qint64(m_picture->width) * m_picture->height > mostPixels)
                return QStringLiteral("it has %1 by %2 pixels, more than 64 million")
                    .arg(m_picture->width)
                    .arg(m_picture->height);
            return {};
        }
        if (type == "IDAT" && !m_pixels.add(content, bytesOfPixels(*m_picture)))
            return QStringLiteral("its pixels are damaged");
        if (type == "IEND" && (!m_pixels.isWhole() || m_pixels.count() != bytesOfPixels(*m_picture)))
            return QStringLiteral("pixels are missing");
        return {};
    }

private:
    std::optional<Picture> m_picture;
    PixelCounter m_pixels;
};

} // namespace

QString pngProblem(const QByteArray &bytes)
{
    const QByteArray signature("\x89PNG\r\n\x1A\n");
    if (!bytes.startsWith(signature))
        return QStringLiteral("it is no PNG picture");
    Checker checker;
    for (qsizetype at = signature.size(); at + chunkFrame <= bytes.size();) {
        const qint64 length = qFromBigEndian<quint32>(bytes.constData() + at);
        if (length > bytes.size() - at - chunkFrame)
            break;
        const QByteArray typed = bytes.mid(at + 4, length + 4);
        const auto sum = crc32_z(0, reinterpret_cast<const Bytef *>(typed.constData()), size_t(typed.size()));
        at += length + chunkFrame;
        if (quint32(sum) != qFromBigEndian<quint32>(bytes.constData() + at - 4))
            return QStringLiteral("a chunk of it is damaged");
        if (const QString problem = checker.add(typed.left(4), typed.mid(4)); !problem.isEmpty())
            return problem;
        if (typed.startsWith("IEND"))
            return at == bytes.size() ? QString() : QStringLiteral("something follows its end");
    }
    return QStringLiteral("it has no end");
}
