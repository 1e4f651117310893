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
    const auto addText = [&result](const QString &marked) {
        const QString text = withoutStringCues(marked);
        if (!text.isEmpty())
            result.runs.append({text, {}, {}});
    };
    if (!string.dynamic) {
        addText(string.localizedFormat);
        return result;
    }
    qsizetype argument = 0;
    for (const DVTextRun &run : dv_runsInString(string.localizedFormat)) {
        const QString text = run.text.toString();
        if (run.isArgument)
            result.runs.append(capsule(string.argumentFormatSpecifiers.value(argument++, text)));
        else
            addText(text);
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
