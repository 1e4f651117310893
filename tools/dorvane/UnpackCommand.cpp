#include "CommandLine.h"
#include "Commands.h"
#include "DeliveredFile.h"
#include "DeliveryKey.h"

int runUnpack(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("unpack"),
        QStringLiteral("Opens a delivered file: decrypts it with the delivery key and inflates it.\n"
                       "Nothing is written when the key does not open it or its content is damaged."));
    line.addArgument(QStringLiteral("IN.gz"), QStringLiteral("Delivered file."));
    line.addArgument(QStringLiteral("OUT.xlf"), QStringLiteral("File to write."));
    addDeliveryKeyOptions(line);
    if (const auto status = line.parse(arguments))
        return *status;

    QString error;
    const QString key = deliveryKeyFromOptions(line, &error);
    if (!error.isEmpty())
        return line.misused(error);
    const QByteArray file = readWholeFile(line.argument(0), &error);
    if (!error.isEmpty())
        return line.fail(error);
    const QByteArray document = documentFromDeliveredFile(file, key, &error);
    if (!error.isEmpty())
        return line.fail(QStringLiteral("%1: %2.").arg(line.argument(0), error));
    if (const QString problem = xliffProblem(document); !problem.isEmpty())
        line.warn(QStringLiteral("what %1 holds is not readable XLIFF: %2").arg(line.argument(0), problem));
    return writeWholeFile(line.argument(1), document, &error) ? Succeeded : line.fail(error);
}
