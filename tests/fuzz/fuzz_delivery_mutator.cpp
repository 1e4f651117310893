// Changes delivered inputs inside their wrapping, where bytes changed at random never come: what is
// encrypted or compressed is taken out, changed, and wrapped again.
#include "FuzzDelivery.h"

#include <DVData.h>

#include <cstring>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maximumSize);

namespace {

constexpr qsizetype limitsLength = 6; // of FuzzDeliveryPart::Inflation, before the bytes

QByteArray mutated(QByteArray bytes, size_t maximumSize)
{
    const auto size = size_t(bytes.size());
    const size_t room = std::max<size_t>(size, maximumSize);
    bytes.resize(qsizetype(room) + 1);
    auto *const data = reinterpret_cast<uint8_t *>(bytes.data());
    bytes.resize(qsizetype(LLVMFuzzerMutate(data, size, room)));
    return bytes;
}

QByteArray mutatedInGzip(const QByteArray &packed, size_t maximumSize)
{
    if (!dv_isGzippedData(packed))
        return mutated(packed, maximumSize);
    const DVInflationLimits limits{1 << 20, 1000, 1 << 20};
    return dv_gzippedData(mutated(dv_gunzippedData(packed, limits), maximumSize));
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maximumSize, unsigned int seed)
{
    const auto part = size > 0 ? fuzzDeliveryPart(data[0]) : FuzzDeliveryPart::Bytes;
    const qsizetype head = part == FuzzDeliveryPart::Inflation ? 1 + limitsLength : 1;
    const bool isWrapped = part == FuzzDeliveryPart::Answer || part == FuzzDeliveryPart::Inflation;
    if (!isWrapped || qsizetype(size) <= head || seed % 4 == 0)
        return LLVMFuzzerMutate(data, size, maximumSize);

    QByteArray bytes(reinterpret_cast<const char *>(data) + head, qsizetype(size) - head);
    if (part == FuzzDeliveryPart::Inflation) {
        bytes = mutatedInGzip(bytes, maximumSize);
    } else {
        // Every other time the compressed bytes themselves are changed, under a sound encryption.
        const QString key = fuzzDeliveryKey(data[0]);
        const QByteArray plain = dv_decryptAESWithKey(bytes, key);
        bytes = seed % 2 ? mutatedInGzip(plain, maximumSize) : mutated(plain, maximumSize);
        bytes = dv_encryptAESWithKey(bytes, key);
    }
    if (bytes.isEmpty() || size_t(head + bytes.size()) > maximumSize)
        return LLVMFuzzerMutate(data, size, maximumSize);
    std::memcpy(data + head, bytes.constData(), size_t(bytes.size()));
    return size_t(head + bytes.size());
}
