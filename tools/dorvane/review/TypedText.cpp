#include "TypedText.h"

#include <DVCueMarkers.h>

#include <algorithm>

QStringList argumentsOf(const QList<DVStringGroupPtr> &strings)
{
    QStringList specifiers;
    for (const auto &string : strings) {
        if (!string)
            continue;
        for (const auto &form : std::as_const(string->pluralForms))
            specifiers += form->argumentFormatSpecifiers;
    }
    specifiers.removeDuplicates();
    specifiers.removeAll(QString());
    return specifiers;
}

QList<DVCapsuleRun> runsOfTypedText(const QString &text, const QStringList &specifiers)
{
    QStringList longestFirst = specifiers;
    std::stable_sort(longestFirst.begin(), longestFirst.end(),
                     [](const QString &one, const QString &other) { return one.size() > other.size(); });
    QList<DVCapsuleRun> runs;
    qsizetype from = 0; // of the text that is in no run yet
    const auto addText = [&](qsizetype to) {
        if (to > from)
            runs.append({text.mid(from, to - from), {}, {}});
    };
    for (qsizetype at = 0; at < text.size();) {
        const auto fits =
            std::find_if(longestFirst.begin(), longestFirst.end(), [&](const QString &specifier) {
                return QStringView(text).mid(at).startsWith(specifier);
            });
        if (fits == longestFirst.end()) {
            ++at;
            continue;
        }
        addText(at);
        runs.append({{}, QStringLiteral("variable"), *fits});
        from = at += fits->size();
    }
    addText(text.size());
    return runs;
}

QJsonObject jsonFromForms(const DVStringGroup &string)
{
    QJsonObject forms;
    for (auto form = string.pluralForms.begin(); form != string.pluralForms.end(); ++form)
        forms.insert(form.key(), dv_stringByRemovingCues((*form)->localizedFormat));
    return forms;
}
