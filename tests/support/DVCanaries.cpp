#include "DVCanaries.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QList>
#include <QPair>

namespace {

constexpr qsizetype shown = 4;
constexpr qsizetype probeLength = 12;

struct Probe
{
    QByteArray bytes;
    const char *spelling;
};

QByteArray utf16(const QString &text)
{
    return {reinterpret_cast<const char *>(text.utf16()), text.size() * 2};
}

// What base64 makes of the bytes whatever stands around them, when they begin `offset` bytes into a group of
// three.
QByteArray base64At(qsizetype offset, const QByteArray &bytes)
{
    const qsizetype firstWhole = offset == 0 ? 0 : 4;
    const qsizetype wholeBytes = (offset + bytes.size()) / 3 * 3;
    return QByteArray(offset, '\0').append(bytes).left(wholeBytes).toBase64().mid(firstWhole);
}

QList<Probe> probesFor(const QString &canary)
{
    // From behind the characters that may be shown, so that a canary that was cut off is found too.
    const QString piece = canary.mid(shown, probeLength);
    const QByteArray bytes = piece.toUtf8();
    QList<Probe> probes = {{bytes, "as it is"},
                           {piece.toUtf8().toPercentEncoding(), "percent-encoded"},
                           {utf16(piece), "in UTF-16"}};
    for (qsizetype offset = 0; offset < 3; ++offset)
        probes.append({base64At(offset, bytes), "in base64"});
    return probes;
}

bool isExcepted(const QString &path, const QStringList &except)
{
    for (const QString &beginning : except) {
        if (path.startsWith(beginning))
            return true;
    }
    return false;
}

} // namespace

QString DVCanaries::canary(const QString &name)
{
    const QByteArray hash = QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha256).toHex();
    return name.leftJustified(shown, QLatin1Char('-'), true) + QString::fromLatin1(hash.left(28));
}

QStringList DVCanaries::foundIn(const QByteArray &text, const QStringList &canaries, const QString &where)
{
    QStringList findings;
    for (const QString &canary : canaries) {
        if (canary.size() < shown + probeLength)
            findings.append(QStringLiteral("\"%1\" is too short for a canary").arg(canary));
        for (const Probe &probe : probesFor(canary)) {
            const qsizetype place = text.indexOf(probe.bytes);
            if (place < 0)
                continue;
            const QByteArray around = text.mid(qMax(qsizetype(0), place - 60), 100);
            findings.append(
                QStringLiteral("%1 holds \"%2\" %3: ...%4...")
                    .arg(where, canary, QLatin1String(probe.spelling), QString::fromUtf8(around)));
            break;
        }
    }
    return findings;
}

QStringList DVCanaries::found(const QString &folder, const QByteArray &output, const QStringList &canaries,
                              const QStringList &except)
{
    QStringList findings = foundIn(output, canaries, QStringLiteral("the output"));
    const QDir root(folder);
    QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = root.relativeFilePath(files.next());
        if (isExcepted(path, except))
            continue;
        findings += foundIn(path.toUtf8(), canaries, QStringLiteral("a file's name"));
        QFile file(files.filePath());
        if (files.fileInfo().isFile() && file.open(QIODevice::ReadOnly))
            findings += foundIn(file.readAll(), canaries, QString(QStringLiteral("the file ") + path));
    }
    return findings;
}
