#include "Secrets.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

#include <array>
#include <openssl/crypto.h>

QByteArray freshSecret()
{
    std::array<quint32, 8> words;
    QRandomGenerator::system()->generate(words.begin(), words.end());
    const QByteArray bytes(reinterpret_cast<const char *>(words.data()), qsizetype(sizeof words));
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray fingerprint(const QByteArray &secret)
{
    return QCryptographicHash::hash(secret, QCryptographicHash::Sha256).toHex();
}

// Of hashes, which have one length.
bool isSameSecret(const QString &given, const QString &expected)
{
    const QByteArray a = fingerprint(given.toUtf8());
    const QByteArray b = fingerprint(expected.toUtf8());
    return CRYPTO_memcmp(a.constData(), b.constData(), size_t(a.size())) == 0;
}
