#include "DeliveryKey.h"

#include "CommandLine.h"

#include <QFile>
#include <QRandomGenerator>

#include <array>

namespace {

constexpr qint64 maximumKeyFileSize = 4096;

QString keyFromFile(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read the key file %1: %2").arg(path, file.errorString());
        return {};
    }
    return QString::fromLatin1(file.read(maximumKeyFileSize).trimmed());
}

} // namespace

QString deliveryKeyProblem(const QString &key)
{
    const auto decoded =
        QByteArray::fromBase64Encoding(key.toUtf8(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || key.isEmpty())
        return QStringLiteral("the key is not base64 text. \"dorvane keygen\" prints a fresh key.");
    const qsizetype length = decoded.decoded.size();
    if (length == 16 || length == 24 || length == 32)
        return {};
    return QStringLiteral(
               "the key has %1 bytes; AES keys have 16, 24 or 32. \"dorvane keygen\" prints a fresh key.")
        .arg(length);
}

QString freshDeliveryKey(int bits)
{
    std::array<quint32, 8> words;
    QRandomGenerator::system()->fillRange(words.data(), qsizetype(words.size()));
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char *>(words.data()), bits / 8).toBase64());
}

void addDeliveryKeyOptions(CommandLine &line)
{
    line.addOption(
        {QStringLiteral("key"),
         QStringLiteral("Delivery key (base64 of 16, 24 or 32 bytes). Other users of this machine can see it "
                        "in the list of processes; --key-file keeps it private."),
         QStringLiteral("BASE64")});
    line.addOption({QStringLiteral("key-file"), QStringLiteral("File that holds the key and nothing else."),
                    QStringLiteral("FILE")});
}

QString deliveryKeyFromOptions(const CommandLine &line, QString *error)
{
    const bool fromFile = line.isSet(QStringLiteral("key-file"));
    if (fromFile == line.isSet(QStringLiteral("key"))) {
        *error = QStringLiteral("give the key with either --key or --key-file.");
        return {};
    }
    const QString key = fromFile ? keyFromFile(line.value(QStringLiteral("key-file")), error)
                                 : line.value(QStringLiteral("key"));
    if (error->isEmpty())
        *error = deliveryKeyProblem(key);
    return error->isEmpty() ? key : QString();
}
