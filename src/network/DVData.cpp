#include "DVData.h"

#include <QStringDecoder>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <zlib.h>

// ---- Base64 (RFC 4648) ----

QByteArray dv_dataWithBase64EncodedString(const QString &string)
{
    // As UTF-8 every character outside ASCII becomes bytes outside the alphabet.
    const QByteArray decoded =
        QByteArray::fromBase64(string.toUtf8(), QByteArray::IgnoreBase64DecodingErrors);
    return decoded.isEmpty() ? QByteArray() : decoded;
}

QString dv_base64EncodedStringWithWrapWidth(const QByteArray &data, int wrapWidth)
{
    if (data.isEmpty())
        return {};
    const QString encoded = QString::fromLatin1(data.toBase64());
    const qsizetype width = qsizetype(wrapWidth) / 4 * 4;
    if (width <= 0 || encoded.size() <= wrapWidth)
        return encoded;
    QString lines;
    lines.reserve(encoded.size() + 2 * (encoded.size() / width));
    for (qsizetype start = 0; start < encoded.size(); start += width) {
        if (start > 0)
            lines += QLatin1StringView("\r\n");
        lines += QStringView(encoded).mid(start, width);
    }
    return lines;
}

QString dv_base64EncodedString(const QByteArray &data)
{
    return dv_base64EncodedStringWithWrapWidth(data, 0);
}

QString dv_stringWithBase64EncodedString(const QString &string)
{
    const QByteArray bytes = dv_dataWithBase64EncodedString(string);
    if (bytes.isNull())
        return {};
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(bytes);
    return decoder.hasError() ? QString() : text;
}

QString dv_base64EncodedStringWithWrapWidth(const QString &string, int wrapWidth)
{
    return dv_base64EncodedStringWithWrapWidth(string.toUtf8(), wrapWidth);
}

QString dv_base64EncodedString(const QString &string)
{
    return dv_base64EncodedStringWithWrapWidth(string, 0);
}

QString dv_base64DecodedString(const QString &string)
{
    return dv_stringWithBase64EncodedString(string);
}

QByteArray dv_base64DecodedData(const QString &string)
{
    return dv_dataWithBase64EncodedString(string);
}

// ---- AES (FIPS 197) ----

namespace {

enum class Direction { Decrypt = 0, Encrypt = 1 };

const EVP_CIPHER *cipherForKeyLength(qsizetype length)
{
    switch (length) {
    case 16:
        return EVP_aes_128_ecb();
    case 24:
        return EVP_aes_192_ecb();
    case 32:
        return EVP_aes_256_ecb();
    default:
        return nullptr;
    }
}

// A failure here must not stay in the thread's OpenSSL error queue: the next TLS read on the same
// thread would take it for its own.
class ErrorQueueMark
{
public:
    ErrorQueueMark() { ERR_set_mark(); }
    ~ErrorQueueMark() { ERR_pop_to_mark(); }
    Q_DISABLE_COPY_MOVE(ErrorQueueMark)
};

QByteArray runCipher(Direction direction, const QByteArray &data, const QString &base64Key)
{
    QByteArray key = dv_dataWithBase64EncodedString(base64Key);
    const EVP_CIPHER *cipher = cipherForKeyLength(key.size());
    const int block = 16;
    if (!cipher || data.size() > std::numeric_limits<int>::max() - block)
        return {};
    const ErrorQueueMark mark;
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                  &EVP_CIPHER_CTX_free);
    QByteArray output(data.size() + block, Qt::Uninitialized);
    auto *const out = reinterpret_cast<unsigned char *>(output.data());
    const auto *const in = reinterpret_cast<const unsigned char *>(data.constData());
    const auto *const keyBytes = reinterpret_cast<const unsigned char *>(key.constData());
    int produced = 0;
    int last = 0;
    const bool done =
        context &&
        EVP_CipherInit_ex(context.get(), cipher, nullptr, keyBytes, nullptr, int(direction)) == 1 &&
        EVP_CipherUpdate(context.get(), out, &produced, in, int(data.size())) == 1 &&
        EVP_CipherFinal_ex(context.get(), out + produced, &last) == 1;
    OPENSSL_cleanse(key.data(), size_t(key.size()));
    if (!done)
        return {};
    output.resize(produced + last);
    return output;
}

} // namespace

QByteArray dv_decryptAESWithKey(const QByteArray &data, const QString &base64Key)
{
    return runCipher(Direction::Decrypt, data, base64Key);
}

QByteArray dv_encryptAESWithKey(const QByteArray &data, const QString &base64Key)
{
    return runCipher(Direction::Encrypt, data, base64Key);
}

// ---- gzip (RFC 1952) ----

namespace {

constexpr int gzipWindowBits = 31;   // 16 + 15: gzip wrapper, 32 KiB window
constexpr int detectWindowBits = 47; // 32 + 15: zlib or gzip wrapper by its header
constexpr qsizetype deflateStep = 16384;

bool exceeds(qint64 produced, qint64 inputSize, const DVInflationLimits &limits)
{
    if (produced > limits.maximumSize)
        return true;
    return produced > limits.ratioFloor && (produced - 1) / inputSize >= limits.maximumRatio;
}

QByteArray inflationLimitError(DVErrorOr *error)
{
    if (error)
        *error = DVError{QStringLiteral("dorvane.SDK"), 413, QStringLiteral("Inflated data is too large")};
    return {};
}

void pointAtInput(z_stream &stream, const QByteArray &data)
{
    // zlib reads only, but its interface predates const.
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.constData()));
    stream.avail_in = uInt(data.size());
}

// The free part of `buffer`, which `step` bytes extend when it is full.
void pointAtOutput(z_stream &stream, QByteArray &buffer, qsizetype step)
{
    const auto produced = qsizetype(stream.total_out);
    if (produced >= buffer.size())
        buffer.resize(buffer.size() + step);
    stream.next_out = reinterpret_cast<Bytef *>(buffer.data() + produced);
    stream.avail_out = uInt(buffer.size() - produced);
}

} // namespace

bool dv_isGzippedData(const QByteArray &data)
{
    return data.size() >= 2 && data.at(0) == '\x1f' && data.at(1) == '\x8b';
}

QByteArray dv_gunzippedData(const QByteArray &data, const DVInflationLimits &limits, DVErrorOr *error)
{
    if (!dv_isGzippedData(data))
        return data;
    if (data.size() > std::numeric_limits<int>::max())
        return inflationLimitError(error);
    z_stream stream = {};
    pointAtInput(stream, data);
    if (inflateInit2(&stream, detectWindowBits) != Z_OK)
        return {};
    QByteArray output;
    output.reserve(qsizetype(qMin<qint64>(2 * data.size(), limits.maximumSize)));
    int status = Z_OK;
    bool tooLarge = false;
    while (status == Z_OK && !tooLarge) {
        pointAtOutput(stream, output, data.size() / 2);
        status = inflate(&stream, Z_SYNC_FLUSH);
        tooLarge = exceeds(qint64(stream.total_out), data.size(), limits);
    }
    const auto produced = qsizetype(stream.total_out);
    const bool complete = inflateEnd(&stream) == Z_OK && status == Z_STREAM_END;
    if (complete)
        output.resize(produced);
    if (tooLarge || output.size() > limits.maximumSize)
        return inflationLimitError(error);
    std::fill(output.begin() + produced, output.end(), '\0');
    return output;
}

QByteArray dv_gzippedDataWithCompressionLevel(const QByteArray &data, float level)
{
    if (data.isEmpty() || dv_isGzippedData(data))
        return data;
    if (data.size() > std::numeric_limits<int>::max())
        return {};
    // Above 1 zlib is given a level that it refuses; not-a-number reads as the default.
    const int zlibLevel = level >= 0 ? int(std::lround(qMin(level, 2.0f) * 9)) : Z_DEFAULT_COMPRESSION;
    z_stream stream = {};
    pointAtInput(stream, data);
    if (deflateInit2(&stream, zlibLevel, Z_DEFLATED, gzipWindowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return {};
    QByteArray output(deflateStep, Qt::Uninitialized);
    do {
        pointAtOutput(stream, output, deflateStep);
        deflate(&stream, Z_FINISH);
    } while (stream.avail_out == 0);
    output.resize(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return output;
}

QByteArray dv_gzippedData(const QByteArray &data)
{
    return dv_gzippedDataWithCompressionLevel(data, -1);
}
