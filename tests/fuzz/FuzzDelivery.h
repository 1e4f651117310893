// The key that inputs of the target "delivery" are encrypted with, for the target and its mutator.
#pragma once

#include <QByteArray>
#include <QString>

// The lowest two bits of an input's first byte say what is done with the rest.
enum class FuzzDeliveryPart { Answer = 0, SpoiltAnswer = 1, Inflation = 2, Bytes = 3 };

inline FuzzDeliveryPart fuzzDeliveryPart(quint8 choice)
{
    return FuzzDeliveryPart(choice & 3);
}

// The next two choose among AES-128, -192, -256 and a key of no use.
inline QString fuzzDeliveryKey(quint8 choice)
{
    const qsizetype lengths[] = {16, 24, 32, 7};
    return QString::fromLatin1(QByteArray(lengths[choice >> 2 & 3], 'k').toBase64());
}
