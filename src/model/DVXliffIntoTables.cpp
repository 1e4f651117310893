#include "DVStringTable.h"
#include "DVXliffReader.h"

// NOLINTNEXTLINE(readability-function-size): what the caller chooses has no other home
DVErrorOr dv_readXliffIntoTables(QByteArrayView document, quint32 stringStatus, DVStringTableBuilder &strings,
                                 DVStringTableBuilder *source, bool needCues,
                                 const std::atomic<bool> *cancelled)
{
    strings.beginFile();
    if (source)
        source->beginFile();
    auto error = DVXliffReader::read(
        document, needCues,
        [&](const DVXliffUnit &unit) {
            if (!unit.targetIsEmptyMarked)
                strings.add({unit.key, unit.uid, unit.pluralForm, unit.target, unit.note, stringStatus});
            if (source && !unit.sourceIsEmptyMarked)
                source->add({unit.key, unit.uid, unit.pluralForm, unit.source, unit.note,
                             DVStringStatusUntranslated});
        },
        cancelled);
    if (!error && (strings.isFull() || (source && source->isFull()))) {
        constexpr int limit = 2;
        error = DVError{QStringLiteral("dorvane.SDK.xliff"), limit,
                        QStringLiteral("Too many strings for one table")};
    }
    return error;
}
