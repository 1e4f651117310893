// Delivered bytes: what is decrypted and encrypted again is what it was, inflation agrees with one plain
// call of zlib and keeps to its limits, and Base64 and gzip give back what they were given. Input: a byte
// that chooses the part and the key (FuzzDelivery.h), then what that part takes.
#include "FuzzDelivery.h"
#include "FuzzTarget.h"

#include <DVData.h>
#include <DVState.h>
#include <DVStringTable.h>
#include <DVStringsDelivery.h>

#include <limits>
#include <zlib.h>

namespace {

constexpr int errorTooLarge = 413;

struct Inflated
{
    QByteArray bytes;
    bool complete = false;
};

// One call into a buffer that takes all, or one byte more than what is allowed.
Inflated inflatedAtOnce(const QByteArray &data, qint64 maximumSize)
{
    constexpr qint64 deflateReach = 1040; // no bit pattern stands for more (RFC 1951)
    Inflated result;
    result.bytes.resize(qsizetype(std::min(maximumSize, data.size() * deflateReach) + 1));
    QByteArray input = data;
    z_stream stream = {};
    stream.next_in = reinterpret_cast<Bytef *>(input.data());
    stream.avail_in = uInt(input.size());
    stream.next_out = reinterpret_cast<Bytef *>(result.bytes.data());
    stream.avail_out = uInt(result.bytes.size());
    constexpr int anyWrapper = 32 + MAX_WBITS;
    FUZZ_CHECK(inflateInit2(&stream, anyWrapper) == Z_OK);
    result.complete = inflate(&stream, Z_FINISH) == Z_STREAM_END;
    result.bytes.resize(qsizetype(stream.total_out));
    inflateEnd(&stream);
    return result;
}

void checkInflation(const QByteArray &data, const DVInflationLimits &limits)
{
    DVErrorOr error;
    const QByteArray output = dv_gunzippedData(data, limits, &error);
    if (!dv_isGzippedData(data)) {
        FUZZ_CHECK(output == data && !error);
        return;
    }
    FUZZ_CHECK(output.size() <= limits.maximumSize);
    FUZZ_CHECK(!error || (error->code == errorTooLarge && output.isNull()));
    const Inflated expected = inflatedAtOnce(data, limits.maximumSize);
    const qint64 size = expected.bytes.size();
    const bool allowed = size <= limits.maximumSize &&
                         (size <= limits.ratioFloor || (size - 1) / data.size() < limits.maximumRatio);
    if (expected.complete || !allowed) {
        FUZZ_CHECK(allowed ? !error && output == expected.bytes : error.has_value());
    } else if (!error) {
        FUZZ_CHECK(output.startsWith(expected.bytes));
        FUZZ_CHECK(std::all_of(output.begin() + size, output.end(), [](char c) { return c == 0; }));
    }
}

// ECB with PKCS#7 padding is one to one.
QByteArray checkedPlain(const QByteArray &cipherText, const QString &key)
{
    constexpr qsizetype block = 16;
    const QByteArray plain = dv_decryptAESWithKey(cipherText, key);
    if (plain.isNull())
        return plain;
    FUZZ_CHECK(cipherText.size() % block == 0);
    FUZZ_CHECK(plain.size() < cipherText.size() && plain.size() + block >= cipherText.size());
    FUZZ_CHECK(dv_encryptAESWithKey(plain, key) == cipherText);
    return plain;
}

void checkAnswer(const QByteArray &body, const QString &key)
{
    const QByteArray plain = checkedPlain(body, key);
    DVState::shared().setAesKey(key);
    const auto content = DVStringsDelivery::decode(body);
    FUZZ_CHECK(!content.error || content.strings.isNull());
    if (plain.isNull()) {
        FUZZ_CHECK(content.strings.isNull() && !content.error);
        return;
    }
    checkInflation(plain, {});
    DVStringTableBuilder builder(false);
    dv_readXliffIntoTables(content.strings, 1, builder, nullptr, false);
    builder.build();
}

// A valid answer with one byte of its cipher text changed.
void checkSpoiltAnswer(FuzzInput &in, const QString &key)
{
    const auto place = qsizetype(in.number(2));
    const auto change = quint8(in.byte() | 1);
    const QByteArray strings = in.rest().toByteArray();
    const QByteArray plain = dv_gzippedData(strings);
    QByteArray body = dv_encryptAESWithKey(plain, key);
    if (body.isNull())
        return;
    FUZZ_CHECK(dv_decryptAESWithKey(body, key) == plain);
    if (!dv_isGzippedData(strings))
        FUZZ_CHECK(dv_gunzippedData(plain) == strings);
    body[place % body.size()] = char(quint8(body[place % body.size()]) ^ change);
    const QByteArray spoilt = checkedPlain(body, key);
    FUZZ_CHECK(spoilt.isNull() || spoilt != plain);
    checkAnswer(body, key);
    body.chop(change % body.size());
    checkAnswer(body, key);
}

void checkLimits(FuzzInput &in)
{
    DVInflationLimits limits;
    limits.maximumSize = qint64(in.number(3));
    limits.maximumRatio = in.byte() + 1;
    limits.ratioFloor = qint64(in.number(2));
    checkInflation(in.rest().toByteArray(), limits);
}

void checkBytes(FuzzInput &in)
{
    const quint8 choice = in.byte();
    const QByteArray data = in.rest().toByteArray();
    const QString encoded = dv_base64EncodedStringWithWrapWidth(data, choice);
    FUZZ_CHECK(dv_dataWithBase64EncodedString(encoded) == data);
    for (const QString &line : encoded.split(QStringLiteral("\r\n")))
        FUZZ_CHECK(choice < 4 || line.size() <= choice);
    const QByteArray decoded = dv_dataWithBase64EncodedString(QString::fromUtf8(data));
    FUZZ_CHECK(dv_dataWithBase64EncodedString(dv_base64EncodedString(decoded)) == decoded);

    const float levels[] = {-1, 0, 0.5, 1, 3, std::numeric_limits<float>::quiet_NaN()};
    const QByteArray packed = dv_gzippedDataWithCompressionLevel(data, levels[choice % std::size(levels)]);
    if (!packed.isNull() && !dv_isGzippedData(data))
        FUZZ_CHECK(data.isEmpty() ? packed.isEmpty() : dv_gunzippedData(packed) == data);
}

} // namespace

void fuzz_delivery(QByteArrayView input)
{
    FuzzInput in(input);
    const quint8 choice = in.byte();
    const QString key = fuzzDeliveryKey(choice);
    switch (fuzzDeliveryPart(choice)) {
    case FuzzDeliveryPart::Answer:
        return checkAnswer(in.rest().toByteArray(), key);
    case FuzzDeliveryPart::SpoiltAnswer:
        return checkSpoiltAnswer(in, key);
    case FuzzDeliveryPart::Inflation:
        return checkLimits(in);
    case FuzzDeliveryPart::Bytes:
        return checkBytes(in);
    }
}
