// libFuzzer target: any bytes, in any pieces, are read to the same units or the same error, and as
// records and as a table they say the same. Run with -max_len=200000 to pass the length of a window.
#include "XliffUnits.h"

#include <DVStringTable.h>
#include <DVXliffParser.h>

#include <cstdlib>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void compareTables(QByteArrayView document, bool needCues)
{
    DVErrorOr error;
    const auto strings = DVXliffParser::parseXliffData(document, 1, &error, needCues);
    DVStringTableBuilder builder(needCues);
    require(dv_readXliffIntoTables(document, 1, builder, nullptr, needCues) == error);
    const auto table = builder.build();
    require(table->size() == strings.size());
    for (auto it = strings.begin(); it != strings.end(); ++it) {
        const auto entry = table->find(QStringView(it.key()));
        require(entry != DVStringTable::notFound &&
                table->group(entry)->description() == (*it)->description());
        require(table->text(entry) == (*it)->stringForPluralForm({}, false)->localizedFormat);
        table->plainText(entry);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const bool needCues = data[0] & 1;
    const qsizetype piece = data[0] / 2 + 1;
    const QByteArrayView document(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    const auto whole = XliffUnits::read(document, needCues);
    require(XliffUnits::readInPieces(document, needCues, [piece] { return piece; }) == whole);
    compareTables(document, needCues);
    return 0;
}
