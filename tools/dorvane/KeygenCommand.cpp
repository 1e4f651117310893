#include "CommandLine.h"
#include "Commands.h"
#include "DeliveryKey.h"

int runKeygen(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("keygen"), QStringLiteral("Prints a fresh delivery key as base64 text."));
    line.addOption({QStringLiteral("bits"),
                    QStringLiteral("Length of the key: 128, 192 or 256 (the default)."),
                    QStringLiteral("BITS"), QStringLiteral("256")});
    if (const auto status = line.parse(arguments))
        return *status;

    const QString bits = line.value(QStringLiteral("bits"));
    if (!QStringList{QStringLiteral("128"), QStringLiteral("192"), QStringLiteral("256")}.contains(bits))
        return line.misused(QStringLiteral("--bits is 128, 192 or 256, not \"%1\".").arg(bits));
    printLine(freshDeliveryKey(bits.toInt()));
    return Succeeded;
}
