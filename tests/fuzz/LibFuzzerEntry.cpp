// The entry points that libFuzzer calls, for the one target that this is compiled for.
#include "FuzzTarget.h"

void DORVANE_FUZZ_TARGET(QByteArrayView input);

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzzPrepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    DORVANE_FUZZ_TARGET(QByteArrayView(reinterpret_cast<const char *>(data), qsizetype(size)));
    return 0;
}
