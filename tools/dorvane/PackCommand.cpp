#include "CommandLine.h"
#include "Commands.h"
#include "DeliveredFile.h"
#include "DeliveryKey.h"

int runPack(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("pack"),
        QStringLiteral("Makes the file that applications download: the XLIFF document, gzip-compressed,\n"
                       "then AES-encrypted with the delivery key. The document is read first as an\n"
                       "application would read it; what it could not read is refused."));
    line.addArgument(QStringLiteral("IN.xlf"), QStringLiteral("XLIFF 1.2 document."));
    line.addArgument(QStringLiteral("OUT.gz"), QStringLiteral("File to write."));
    addDeliveryKeyOptions(line);
    if (const auto status = line.parse(arguments))
        return *status;

    QString error;
    const QString key = deliveryKeyFromOptions(line, &error);
    if (!error.isEmpty())
        return line.misused(error);
    const QByteArray document = readWholeFile(line.argument(0), &error);
    if (!error.isEmpty())
        return line.fail(error);
    const QByteArray file = deliveredFileFromXliff(document, key, &error);
    if (!error.isEmpty())
        return line.fail(QStringLiteral("%1 is not readable XLIFF: %2").arg(line.argument(0), error));
    return writeWholeFile(line.argument(1), file, &error) ? Succeeded : line.fail(error);
}
