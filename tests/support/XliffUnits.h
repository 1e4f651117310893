// Units of an XLIFF document as texts that a test can compare and a person can read.
#pragma once

#include <DVCueMarkers.h>
#include <DVXliffReader.h>

#include <QString>
#include <QStringList>

namespace XliffUnits {

inline QString shown(std::string_view text)
{
    return text.data() ? dv_stringShowingCues(QString::fromUtf8(text.data(), qsizetype(text.size())))
                       : QStringLiteral("-");
}

// "key uid form | source | target | note", "-" for what there is not; markers as [ ] { }.
inline QString shown(const DVXliffUnit &unit)
{
    QString result = QStringList{shown(unit.key), shown(unit.uid), shown(unit.pluralForm)}.join(u' ');
    for (const std::string_view text : {unit.source, unit.target, unit.note})
        result += u" | " + shown(text);
    if (unit.sourceIsEmptyMarked)
        result += u" (no source)";
    if (unit.targetIsEmptyMarked)
        result += u" (no target)";
    return result;
}

struct Reading
{
    QStringList units;
    DVErrorOr error;
    friend bool operator==(const Reading &, const Reading &) = default;
};

// `cut` gives the length of the next piece.
template<typename Cut> Reading readInPieces(QByteArrayView document, bool needCues, const Cut &cut)
{
    Reading reading;
    DVXliffReader reader(needCues,
                         [&reading](const DVXliffUnit &unit) { reading.units.append(shown(unit)); });
    while (!document.isEmpty()) {
        const qsizetype length = std::min<qsizetype>(cut(), document.size());
        reader.feed(document.first(length));
        document = document.sliced(length);
    }
    reading.error = reader.finish();
    return reading;
}

inline Reading read(QByteArrayView document, bool needCues, const std::atomic<bool> *cancelled = nullptr)
{
    Reading reading;
    reading.error = DVXliffReader::read(
        document, needCues, [&reading](const DVXliffUnit &unit) { reading.units.append(shown(unit)); },
        cancelled);
    return reading;
}

} // namespace XliffUnits
