#include "DVData.h"
#include "DVRows.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <limits>

#include <openssl/err.h>
#include <zlib.h>

namespace {

// Runs a program that is not ours over `input`.
QByteArray piped(const QString &program, const QStringList &arguments, const QByteArray &input)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted())
        return "cannot start "_qba + program.toUtf8();
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished() || process.exitCode() != 0)
        return "failed: "_qba + process.readAllStandardError();
    return process.readAllStandardOutput();
}

QByteArray opensslEncrypted(const QByteArray &plain, const QByteArray &key)
{
    const QString cipher = u"-aes-%1-ecb"_qs.arg(key.size() * 8);
    return piped(u"openssl"_qs, {u"enc"_qs, u"-e"_qs, cipher, u"-K"_qs, QString::fromLatin1(key.toHex())},
                 plain);
}

// zlib called directly, into one large buffer.
QByteArray deflatedDirectly(const QByteArray &plain, int level)
{
    z_stream stream = {};
    deflateInit2(&stream, level, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY);
    QByteArray output(qsizetype(deflateBound(&stream, uLong(plain.size()))), '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(plain.data()));
    stream.avail_in = uInt(plain.size());
    stream.next_out = reinterpret_cast<Bytef *>(output.data());
    stream.avail_out = uInt(output.size());
    deflate(&stream, Z_FINISH);
    output.resize(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return output;
}

QByteArray noise(qsizetype size)
{
    QByteArray bytes(size, '\0');
    QRandomGenerator generator{quint32(size)};
    for (char &byte : bytes)
        byte = char(generator.bounded(256));
    return bytes;
}

QByteArray gzipHeader()
{
    return QByteArray::fromHex("1f8b0800000000000003");
}

// RFC 1952 and RFC 1951 by hand: ten bytes of header, one final stored block with five bytes of
// its own header, then the bytes as they are; checksum and length would follow.
QByteArray storedWithoutTrailer(const QByteArray &plain)
{
    const auto size = quint16(plain.size());
    const auto low = [](quint16 value) { return char(value & 0xff); };
    const auto high = [](quint16 value) { return char(value >> 8); };
    const auto complement = quint16(~size);
    return gzipHeader() + '\1' + low(size) + high(size) + low(complement) + high(complement) + plain;
}

QString base64(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toBase64());
}

} // namespace

class TestData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void base64OfBytes_data();
    void base64OfBytes();
    void base64Decoding_data();
    void base64Decoding();
    void base64Lines_data();
    void base64Lines();
    void base64OfTexts();

    void aesStandardVectors_data();
    void aesStandardVectors();
    void aesRefusals_data();
    void aesRefusals();

    void inflationOfOtherProgramsFiles_data();
    void inflationOfOtherProgramsFiles();
    void notGzip_data();
    void notGzip();
    void damagedStreams_data();
    void damagedStreams();
    void onlyTheFirstMember();
    void everyTruncationIsHarmless();
    void limits_data();
    void limits();

    void compressionLevels_data();
    void compressionLevels();
    void compressionAroundABufferStep();
    void deliveredFileOfOtherPrograms();
};

// RFC 4648, section 10.
void TestData::base64OfBytes_data()
{
    const DVRows<QByteArray, QString> row("bytes", "text");
    row("one byte", "f", u"Zg=="_qs);
    row("two bytes", "fo", u"Zm8="_qs);
    row("three bytes", "foo", u"Zm9v"_qs);
    row("four bytes", "foob", u"Zm9vYg=="_qs);
    row("five bytes", "fooba", u"Zm9vYmE="_qs);
    row("six bytes", "foobar", u"Zm9vYmFy"_qs);
    row("both letters that are no letters", QByteArray::fromHex("fbff"), u"+/8="_qs);
}

void TestData::base64OfBytes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QCOMPARE(dv_base64EncodedString(bytes), text);
    QCOMPARE(dv_dataWithBase64EncodedString(text), bytes);
    QCOMPARE(dv_base64DecodedData(text), bytes);
}

void TestData::base64Decoding_data()
{
    // bytes: null: no result
    const DVRows<QString, QByteArray> row("text", "bytes");
    row("a null text has no result", {}, {});
    row("an empty text has no result", u""_qs, {});
    row("lines, blanks and other characters are ignored", u" Zm\r\n9v-_Y\t\u00e9mF\u4e2dy!"_qs, "foobar");
    row("missing padding is forgiven", u"Zm9vYg"_qs, "foob");
    row("nothing of the alphabet has no result", u"!?-_ \n"_qs, {});
    row("six bits make no byte", u"Z"_qs, {});
}

void TestData::base64Decoding()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QCOMPARE(dv_dataWithBase64EncodedString(text), bytes);
    QCOMPARE(dv_dataWithBase64EncodedString(text).isNull(), bytes.isNull());
}

void TestData::base64Lines_data()
{
    const DVRows<int, int, QList<int>> row("byteCount", "width", "lineLengths");
    row("width 0 is one line", 90, 0, {120});
    row("a negative width is one line", 90, -8, {120});
    row("a width without room for four characters is one line", 90, 3, {120});
    row("a text as long as the width is one line", 57, 76, {76});
    row("76, with a rest", 60, 76, {76, 4});
    row("76, twice", 114, 76, {76, 76});
    row("64, with a rest", 90, 64, {64, 56});
    row("other widths go down to a multiple of four", 90, 50, {48, 48, 24});
    row("a text between the width and its multiple of four is one line", 9, 15, {12});
    row("a text of the multiple of four above the width is cut", 12, 15, {12, 4});
}

void TestData::base64Lines()
{
    QFETCH(int, byteCount);
    QFETCH(int, width);
    QFETCH(QList<int>, lineLengths);
    const QByteArray bytes = noise(byteCount);
    const QString text = dv_base64EncodedStringWithWrapWidth(bytes, width);
    QList<int> found;
    const QStringList lines = text.split(u"\r\n"_qs);
    for (const QString &line : lines)
        found.append(int(line.size()));
    QCOMPARE(found, lineLengths);
    QCOMPARE(lines.join(QString()), base64(bytes));
}

void TestData::base64OfTexts()
{
    QCOMPARE(dv_base64EncodedString(u"caf\u00e9"_qs), u"Y2Fmw6k="_qs);
    QCOMPARE(dv_base64DecodedString(u"Y2Fmw6k="_qs), u"caf\u00e9"_qs);
    QCOMPARE(dv_base64EncodedStringWithWrapWidth(u"foobar"_qs, 4), u"Zm9v\r\nYmFy"_qs);
    QVERIFY(dv_base64EncodedString(QString()).isNull());
    QVERIFY(dv_base64EncodedString(QByteArray()).isNull());
    QVERIFY2(dv_stringWithBase64EncodedString(u"/w=="_qs).isNull(), "a byte that UTF-8 never has");
    QCOMPARE(dv_base64EncodedString(QString(QChar(0xd800))), u"Pw=="_qs); // half a pair: "?"
}

// NIST SP 800-38A, F.1: ECB example vectors.
void TestData::aesStandardVectors_data()
{
    const DVRows<QByteArray, QByteArray> row("key", "cipherText");
    row("a 16-byte key is AES-128", QByteArray::fromHex("2b7e151628aed2a6abf7158809cf4f3c"),
        QByteArray::fromHex("3ad77bb40d7a3660a89ecaf32466ef97"
                            "f5d3d58503b9699de785895a96fdbaaf"
                            "43b1cd7f598ece23881b00e3ed030688"
                            "7b0c785e27e8ad3f8223207104725dd4"));
    row("a 24-byte key is AES-192", QByteArray::fromHex("8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b"),
        QByteArray::fromHex("bd334f1d6e45f25ff712a214571fa5cc"
                            "974104846d0ad3ad7734ecb3ecee4eef"
                            "ef7afd2270e2e60adce0ba2face6444e"
                            "9a4b41ba738d6c72fb16691603c18e0e"));
    row("a 32-byte key is AES-256",
        QByteArray::fromHex("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4"),
        QByteArray::fromHex("f3eed1bdb5d2a03c064b5a7e3db181f8"
                            "591ccb10d410ed26dc5ba74a31362870"
                            "b6ed21b99ca6f4f9f153e7b1beafed1d"
                            "23304b7a39f9f3ff067d8d8f9e24ecc7"));
}

void TestData::aesStandardVectors()
{
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, cipherText);
    const QByteArray plain = QByteArray::fromHex("6bc1bee22e409f96e93d7e117393172a"
                                                 "ae2d8a571e03ac9c9eb76fac45af8e51"
                                                 "30c81c46a35ce411e5fbc1191a0a52ef"
                                                 "f69f2445df4f9b17ad2b417be66c3710");
    const QByteArray encrypted = opensslEncrypted(plain, key);
    QCOMPARE(encrypted.size(), cipherText.size() + 16); // a block of padding follows
    QVERIFY(encrypted.startsWith(cipherText));
    QCOMPARE(dv_decryptAESWithKey(encrypted, base64(key)), plain);
    QCOMPARE(dv_encryptAESWithKey(plain, base64(key)), encrypted);

    const QByteArray emptyText = dv_decryptAESWithKey(opensslEncrypted({}, key), base64(key));
    QVERIFY2(emptyText.isEmpty() && !emptyText.isNull(), "nothing, encrypted, is a result");
}

void TestData::aesRefusals_data()
{
    const QByteArray key = noise(16);
    const QByteArray good = opensslEncrypted("Bonjour le monde, encore"_qba, key);
    const DVRows<QByteArray, QString> row("encrypted", "key");
    row("a 20-byte key", good, base64(noise(20)));
    row("a 15-byte key", good, base64(key.left(15)));
    row("no key", good, {});
    row("a key that is no base64", good, u"*** not a key ***"_qs);
    row("another key, so the padding is wrong", good, base64(QByteArray(16, 'k')));
    row("a piece of a block at the end", good + "x", base64(key));
    row("the last block missing", good.left(16), base64(key));
    row("nothing at all", {}, base64(key));
}

void TestData::aesRefusals()
{
    QFETCH(QByteArray, encrypted);
    QFETCH(QString, key);
    QVERIFY(dv_decryptAESWithKey(encrypted, key).isNull());
    QVERIFY2(ERR_peek_error() == 0, "the thread's TLS code would take the error for its own");
}

void TestData::inflationOfOtherProgramsFiles_data()
{
    const DVRows<QByteArray> row("plain");
    row("nothing", "");
    row("a sentence", "Bonjour");
    row("text that shrinks a hundredfold", QByteArray("<target>Bonjour</target>\n").repeated(20000));
    row("noise, which does not shrink", noise(100000));
}

void TestData::inflationOfOtherProgramsFiles()
{
    QFETCH(QByteArray, plain);
    const QStringList levels{u"-1"_qs, u"-9"_qs};
    for (const QString &level : levels) {
        const QByteArray packed = piped(u"gzip"_qs, {u"-c"_qs, level}, plain);
        QVERIFY(dv_isGzippedData(packed));
        DVErrorOr error;
        QCOMPARE(dv_gunzippedData(packed, {}, &error), plain);
        QVERIFY(!error);
    }
}

void TestData::notGzip_data()
{
    const DVRows<QByteArray> row("data");
    row("null", {});
    row("one byte of the magic", "\x1f");
    row("XML", "<?xml version=\"1.0\"?>");
    row("the magic turned round", "\x8b\x1f 12345");
    row("a zlib wrapper", qCompress("Bonjour"_qba).mid(4));
}

void TestData::notGzip()
{
    QFETCH(QByteArray, data);
    QVERIFY(!dv_isGzippedData(data));
    QCOMPARE(dv_gunzippedData(data), data);
}

// The buffer grows by half the input (rounded down) whenever it is full before a step, and is not
// cut when the stream does not end well; what was never written is zero. Each length follows from that.
void TestData::damagedStreams_data()
{
    const DVRows<QByteArray, QByteArray, int> row("stream", "written", "length");
    const QByteArray plain = noise(1000);
    const QByteArray stored = storedWithoutTrailer(plain); // 1015 bytes
    // Half is 257: full at 257, then 514 hold the 500 bytes there are.
    row("cut in the middle: two steps", stored.left(515), plain.left(500), 514);
    // Half is 15, and there are 15: the full buffer grows once more before zlib says that it needs more.
    row("cut where the buffer is just full", stored.left(30), plain.left(15), 30);
    // Half is 507: 507, 1014; the 1000 bytes are there, checksum and length are not.
    row("cut before the checksum", stored, plain, 1014);
    // 1023 bytes, half is 511: 511, 1022.
    row("a wrong checksum", stored + QByteArray(8, '\0'), plain, 1022);
    row("the magic alone", gzipHeader().left(2), {}, 1);
    row("three bytes, of which half is one", gzipHeader().left(3), {}, 1);
    row("a header and nothing else", gzipHeader(), {}, 5);
    row("a method other than deflate", "\x1f\x8b\x09"_qba + QByteArray(17, '\0'), {}, 10);
    row("a block type that does not exist", gzipHeader() + "\x07"_qba + QByteArray(7, '\0'), {}, 9);
}

void TestData::damagedStreams()
{
    QFETCH(QByteArray, stream);
    QFETCH(QByteArray, written);
    QFETCH(int, length);
    DVErrorOr error;
    const QByteArray result = dv_gunzippedData(stream, {}, &error);
    QVERIFY(!error);
    QCOMPARE(result.size(), length);
    QCOMPARE(result.left(written.size()), written);
    QCOMPARE(result.mid(written.size()), QByteArray(length - written.size(), '\0'));
}

void TestData::onlyTheFirstMember()
{
    const QByteArray first = piped(u"gzip"_qs, {u"-c"_qs}, "first"_qba);
    const QByteArray second = piped(u"gzip"_qs, {u"-c"_qs}, "second"_qba);
    QCOMPARE(dv_gunzippedData(first + second), "first"_qba);
    QCOMPARE(dv_gunzippedData(first + "garbage"_qba), "first"_qba);
}

void TestData::everyTruncationIsHarmless()
{
    const QByteArray plain = QByteArray("<target>Bonjour</target>\n").repeated(200) + noise(300);
    const QByteArray packed = piped(u"gzip"_qs, {u"-c"_qs}, plain);
    for (qsizetype size = 2; size < packed.size(); ++size) {
        const QByteArray result = dv_gunzippedData(packed.left(size));
        const qsizetype half = size / 2;
        QCOMPARE(result.size() % half, 0);
        qsizetype common = 0;
        while (common < qMin(result.size(), plain.size()) && result.at(common) == plain.at(common))
            ++common;
        QCOMPARE(result.mid(common), QByteArray(result.size() - common, '\0'));
    }
}

void TestData::limits_data()
{
    // length: -1: too large
    const DVRows<QByteArray, qint64, qint64, qint64, qint64> row("stream", "maximumSize", "maximumRatio",
                                                                 "ratioFloor", "length");
    const DVInflationLimits usual;
    const QByteArray thousand = deflatedDirectly(noise(1000), 6);
    const QByteArray zeros = deflatedDirectly(QByteArray(1 << 20, '\0'), 9); // about 1000 to 1
    row("as large as allowed", thousand, 1000, usual.maximumRatio, usual.ratioFloor, 1000);
    row("a byte too large", thousand, 999, usual.maximumRatio, usual.ratioFloor, -1);
    row("a small repetitive file passes", zeros, usual.maximumSize, usual.maximumRatio, usual.ratioFloor,
        qint64(1 << 20));
    row("the ratio counts from its floor on", zeros, usual.maximumSize, usual.maximumRatio, qint64(1 << 19),
        -1);
    row("up to the floor it does not", zeros, usual.maximumSize, usual.maximumRatio, qint64(1 << 20),
        qint64(1 << 20));
    row("64 MiB of zeros in 64 KiB", deflatedDirectly(QByteArray(64 << 20, '\0'), 9), usual.maximumSize,
        usual.maximumRatio, usual.ratioFloor, -1);
    row("a damaged stream obeys as well", storedWithoutTrailer(noise(1000)), 1000, usual.maximumRatio,
        usual.ratioFloor, -1);
}

void TestData::limits()
{
    QFETCH(QByteArray, stream);
    QFETCH(qint64, maximumSize);
    QFETCH(qint64, maximumRatio);
    QFETCH(qint64, ratioFloor);
    QFETCH(qint64, length);
    const DVInflationLimits limits{maximumSize, maximumRatio, ratioFloor};
    DVErrorOr error;
    const QByteArray result = dv_gunzippedData(stream, limits, &error);
    if (length < 0) {
        QVERIFY(result.isNull());
        QVERIFY(error);
        QCOMPARE(error->domain, u"dorvane.SDK"_qs);
        QCOMPARE(error->code, 413);
        QVERIFY(dv_gunzippedData(stream, limits).isNull());
    } else {
        QVERIFY(!error);
        QCOMPARE(qint64(result.size()), length);
    }
}

void TestData::compressionLevels_data()
{
    // zlibLevel: -2: refused
    const DVRows<float, int> row("level", "zlibLevel");
    row("negative is zlib's default", -1.0f, -1);
    row("not-a-number is zlib's default", std::numeric_limits<float>::quiet_NaN(), -1);
    row("0 stores", 0.0f, 0);
    row("0.05 is 0.45, nearest 0", 0.05f, 0);
    row("0.1 is 0.9, nearest 1", 0.1f, 1);
    row("0.5 is 4.5, rounded up to 5", 0.5f, 5);
    row("1 is 9", 1.0f, 9);
    row("above 1 is refused", 1.5f, -2);
    row("infinity is refused", std::numeric_limits<float>::infinity(), -2);
}

void TestData::compressionLevels()
{
    QFETCH(float, level);
    QFETCH(int, zlibLevel);
    // Long enough for the levels to differ in what they find.
    QByteArray plain;
    for (int i = 0; i < 4000; ++i)
        plain += "<target>"_qba + QByteArray::number(i * 7919) + "</target><note>"_qba +
                 QByteArray::number(i % 97) + "</note>\n"_qba;
    const QByteArray packed = dv_gzippedDataWithCompressionLevel(plain, level);
    if (zlibLevel == -2) {
        QVERIFY(packed.isNull());
        return;
    }
    if (zlibLevel == 0) // stored blocks are cut where the buffer ends
        QVERIFY(packed.size() > plain.size());
    else
        QCOMPARE(packed, deflatedDirectly(plain, zlibLevel));
    QCOMPARE(piped(u"gzip"_qs, {u"-dc"_qs}, packed), plain);
    QCOMPARE(dv_gzippedDataWithCompressionLevel(packed, level), packed); // not twice
    QCOMPARE(dv_gzippedDataWithCompressionLevel({}, level), QByteArray());
}

void TestData::compressionAroundABufferStep()
{
    for (qsizetype size = 16384 - 30; size <= 16384 + 2; ++size) { // stored: 23 bytes longer
        const QByteArray plain = noise(size);
        const QByteArray packed = dv_gzippedDataWithCompressionLevel(plain, 0);
        QCOMPARE(packed, deflatedDirectly(plain, 0));
        QCOMPARE(dv_gunzippedData(packed), plain);
    }
}

void TestData::deliveredFileOfOtherPrograms()
{
    const QByteArray document = QByteArray("<target>Bonjour</target>\n").repeated(500);
    const QByteArray key = noise(24);
    const QByteArray delivered = opensslEncrypted(piped(u"gzip"_qs, {u"-c"_qs}, document), key);
    QCOMPARE(dv_gunzippedData(dv_decryptAESWithKey(delivered, base64(key))), document);
}

QTEST_GUILESS_MAIN(TestData)
#include "tst_data.moc"
