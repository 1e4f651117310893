// Base64, AES and gzip on bytes: the steps of a delivered file.
#pragma once

#include <Dorvane/DVError.h>

#include <QByteArray>
#include <QString>

// "No result" is a null QByteArray or QString throughout.

// Decodes, ignoring characters outside the alphabet; an empty text or result is null.
QByteArray dv_dataWithBase64EncodedString(const QString &string);
// Lines of `wrapWidth` characters (rounded down to a multiple of 4) joined by "\r\n"; 0: one line.
// Empty data is null.
QString dv_base64EncodedStringWithWrapWidth(const QByteArray &data, int wrapWidth);
QString dv_base64EncodedString(const QByteArray &data);
// The same on texts, as UTF-8.
QString dv_stringWithBase64EncodedString(const QString &string);
QString dv_base64EncodedStringWithWrapWidth(const QString &string, int wrapWidth);
QString dv_base64EncodedString(const QString &string);
QString dv_base64DecodedString(const QString &string);
QByteArray dv_base64DecodedData(const QString &string);

// AES in ECB mode with PKCS#7 padding (FIPS 197, RFC 5652); the decoded key's length of 16, 24 or 32
// bytes selects AES-128, -192 or -256. Any failure is null. Encryption is for the tools.
QByteArray dv_decryptAESWithKey(const QByteArray &data, const QString &base64Key);
QByteArray dv_encryptAESWithKey(const QByteArray &data, const QString &base64Key);

// What an inflation may produce. Beyond either it stops with an error. The ratio counts only from
// `ratioFloor` bytes of output on, so that small repetitive files pass.
struct DVInflationLimits
{
    qint64 maximumSize = qint64(256) << 20;
    qint64 maximumRatio = 200;
    qint64 ratioFloor = qint64(16) << 20;
};

bool dv_isGzippedData(const QByteArray &data);
// The inflated data (RFC 1952, or a zlib wrapper found by its header). Data without the gzip magic comes
// back unchanged. A damaged stream gives the buffer as far as it had grown, the part that was never
// written zeroed. Null when zlib refuses to start or, with `error` set (domain "dorvane.SDK", code
// 413), beyond a limit.
QByteArray dv_gunzippedData(const QByteArray &data, const DVInflationLimits &limits = {},
                            DVErrorOr *error = nullptr);
// Level 0 to 1; negative: zlib's default. Empty or already gzipped data comes back unchanged.
QByteArray dv_gzippedDataWithCompressionLevel(const QByteArray &data, float level);
QByteArray dv_gzippedData(const QByteArray &data);
