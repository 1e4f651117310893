#include "DVCapsules.h"

#include "DVCueMarkers.h"

using namespace DVCueMarker;

namespace {

QString withoutStringCues(const QString &text)
{
    QString result = text;
    result.remove(QChar(stringStart));
    result.remove(QChar(stringEnd));
    return result;
}

DVCapsuleRun capsule(const QString &format)
{
    return {{}, QStringLiteral("variable"), format};
}

} // namespace

DVCapsuleText dv_stringWithCapsulesWithSize(const DVString &string, double size, bool editing)
{
    DVCapsuleText result{{}, size, editing};
    const QString text = withoutStringCues(string.localizedFormat);
    if (!string.dynamic) {
        if (!text.isEmpty())
            result.runs.append({text, {}, {}});
        return result;
    }
    qsizetype argument = 0;
    for (const DVTextRun &run : dv_runsInString(text)) {
        const QString shown = run.text.toString();
        if (run.isArgument)
            result.runs.append(capsule(string.argumentFormatSpecifiers.value(argument++, shown)));
        else
            result.runs.append({shown, {}, {}});
    }
    return result;
}

DVMarkedUpText dv_markedUpText(const QList<DVCapsuleRun> &runs)
{
    DVMarkedUpText result;
    result.text = QChar(stringStart);
    for (const DVCapsuleRun &run : runs) {
        if (!run.isCapsule()) {
            result.text += dv_stringByRemovingCues(run.text);
            continue;
        }
        result.text += QChar(argumentStart) % run.capsuleFormat % QChar(argumentEnd);
        ++result.capsules;
    }
    result.text += QChar(stringEnd);
    return result;
}
