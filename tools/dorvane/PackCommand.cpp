#include "CheckedFolder.h"
#include "CommandLine.h"
#include "Commands.h"
#include "DeliveredFile.h"
#include "DeliveryKey.h"
#include "PackCheck.h"

namespace {

void declarePackOptions(CommandLine &line)
{
    line.addArgument(QStringLiteral("IN.xlf"), QStringLiteral("XLIFF 1.2 document."));
    line.addArgument(QStringLiteral("OUT.gz"), QStringLiteral("File to write."));
    addDeliveryKeyOptions(line);
    line.addOption(
        {QStringLiteral("as-is"),
         QStringLiteral("Leave placeholders such as %1 and %n that stand outside <ph> elements where they "
                        "are; applications will show them instead of the arguments.")});
    line.addOption({QStringLiteral("no-check"), QStringLiteral("Pack what has mistakes too.")});
    line.addOption({QStringLiteral("tree"),
                    QStringLiteral("Write the delivery tree of a whole project folder instead; see "
                                   "\"dorvane pack --tree --help\".")});
}

} // namespace

int runPack(const QStringList &arguments)
{
    if (arguments.contains(QStringLiteral("--tree")))
        return runPackTree(arguments);
    CommandLine line(
        QStringLiteral("pack"),
        QStringLiteral("Makes the file that applications download: the XLIFF document, gzip-compressed,\n"
                       "then AES-encrypted with the delivery key. The document is read first as an\n"
                       "application would read it; what it could not read is refused. Qt's placeholders\n"
                       "(%1, %L1, %n) in source and target texts are put into <ph> elements where they\n"
                       "are not yet: elsewhere an application shows a percent sign as it stands.\n"
                       "What \"dorvane check\" calls an error is refused too."));
    declarePackOptions(line);
    if (const auto status = line.parse(arguments))
        return *status;

    QString error;
    const QString key = deliveryKeyFromOptions(line, &error);
    if (!error.isEmpty())
        return line.misused(error);
    const QByteArray document = readWholeFile(line.argument(0), &error);
    if (!error.isEmpty())
        return line.fail(error);
    const auto placeholders =
        line.isSet(QStringLiteral("as-is")) ? LoosePlaceholders::Leave : LoosePlaceholders::PutIntoElements;
    const auto packed = packedDocument(document, key, placeholders, &error);
    if (!packed)
        return line.fail(QStringLiteral("%1 is not readable XLIFF: %2").arg(line.argument(0), error));
    if (!line.isSet(QStringLiteral("no-check")) &&
        !passesCheck(line.argument(0), document, localeOfFileName(line.argument(0))))
        return line.fail(
            QStringLiteral("%1 is not packed; --no-check packs it as it is.").arg(line.argument(0)));
    if (packed->newPlaceholderElements > 0)
        line.warn(
            QStringLiteral("placeholders put into <ph> elements: %1").arg(packed->newPlaceholderElements));
    return writeWholeFile(line.argument(1), packed->file, &error) ? Succeeded : line.fail(error);
}
