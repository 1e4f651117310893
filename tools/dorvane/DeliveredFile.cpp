#include "DeliveredFile.h"

#include "PlaceholderElements.h"

#include <DVData.h>
#include <DVXliffReader.h>

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <zlib.h>

namespace {

QString withPosition(const QString &what, const QXmlStreamReader &xml)
{
    return QStringLiteral("%1 (line %2, column %3)")
        .arg(what, QString::number(xml.lineNumber()), QString::number(xml.columnNumber()));
}

// The streaming reader takes any XML; what a person packs by mistake is told here. It has passed the
// hardened reader before, so it holds no document type declaration.
QString rootProblem(const QByteArray &document)
{
    QXmlStreamReader xml(document);
    if (!xml.readNextStartElement())
        return withPosition(QStringLiteral("there is no element in it"), xml);
    if (xml.name() != u"xliff")
        return withPosition(QStringLiteral("its root element is <%1>, not <xliff>").arg(xml.name()), xml);
    const auto version = xml.attributes().value(QLatin1StringView("version"));
    if (!version.isEmpty() && !version.startsWith(u"1."))
        return withPosition(QStringLiteral("it is XLIFF %1; applications read XLIFF 1.2").arg(version), xml);
    return {};
}

// A disk that fills up when the buffer is written is not seen here: flush before.
bool finish(QSaveFile &file)
{
    return file.commit();
}

bool finish(QFile &file)
{
    file.close();
    return file.error() == QFileDevice::NoError;
}

} // namespace

// A gzip member ends in the CRC-32 and the length of what it holds, low byte first (RFC 1952, 2.3.1);
// applications ignore what follows it.
bool isUndamaged(const QByteArray &gzip, const QByteArray &inflated)
{
    std::array<char, 8> trailer;
    const auto *bytes = reinterpret_cast<const Bytef *>(inflated.constData());
    qToLittleEndian(quint32(crc32_z(0, bytes, size_t(inflated.size()))), trailer.data());
    qToLittleEndian(quint32(inflated.size()), trailer.data() + 4);
    return gzip.contains(QByteArrayView(trailer.data(), qsizetype(trailer.size())));
}

QString xliffProblem(const QByteArray &document)
{
    if (const DVErrorOr error = DVXliffReader::read(document, false, [](const DVXliffUnit &) {}))
        return error->description;
    return rootProblem(document);
}

std::optional<PackedDocument> packedDocument(const QByteArray &document, const QString &key,
                                             LoosePlaceholders placeholders, QString *error)
{
    *error = xliffProblem(document);
    if (!error->isEmpty())
        return {};
    PackedDocument packed;
    const bool rewrite = placeholders == LoosePlaceholders::PutIntoElements;
    const QByteArray content =
        rewrite ? withPlaceholderElements(document, &packed.newPlaceholderElements) : document;
    packed.file = dv_encryptAESWithKey(dv_gzippedData(content), key);
    if (!packed.file.isNull())
        return packed;
    *error = QStringLiteral("it cannot be encrypted with this key");
    return {};
}

QByteArray documentFromDeliveredFile(const QByteArray &file, const QString &key, QString *error)
{
    const QByteArray content = dv_decryptAESWithKey(file, key);
    if (content.isNull()) {
        *error = QStringLiteral("the key does not open it: another key, or not a delivered file");
        return {};
    }
    if (!dv_isGzippedData(content)) {
        if (!xliffProblem(content).isEmpty())
            *error = QStringLiteral("the key does not open it: another key, or not a delivered file");
        return error->isEmpty() ? content : QByteArray();
    }
    DVErrorOr limit;
    const QByteArray document = dv_gunzippedData(content, {}, &limit);
    if (limit)
        *error = limit->description;
    else if (!isUndamaged(content, document))
        *error = QStringLiteral("its gzip stream is damaged");
    return error->isEmpty() ? document : QByteArray();
}

QByteArray readWholeFile(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return {};
    }
    // A pipe has no size. Asking for the limit at once would set aside as much memory for every file.
    const qint64 size = file.size() > 0 ? std::min(file.size(), maximumDocumentSize) : maximumDocumentSize;
    const QByteArray content = file.read(size + 1);
    if (file.error() != QFileDevice::NoError)
        *error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
    else if (content.size() > maximumDocumentSize)
        *error =
            QStringLiteral("%1 is larger than %2 MiB").arg(path, QString::number(maximumDocumentSize >> 20));
    return error->isEmpty() ? (content.isNull() ? QByteArray("") : content) : QByteArray();
}

bool writeWholeFile(const QString &path, const QByteArray &content, QString *error)
{
    const QFileInfo target(path); // of what a symbolic link leads to
    const auto write = [&](auto &file) {
        if (file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush() &&
            finish(file))
            return true;
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    };
    if (target.exists() && !target.isFile() && !target.isDir()) {
        QFile pipeOrDevice(path);
        return write(pipeOrDevice);
    }
    QSaveFile file(path);
    return write(file);
}
