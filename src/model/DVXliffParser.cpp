#include "DVXliffParser.h"

#include "DVUtf8.h"
#include "DVXliffReader.h"

namespace {

void addForm(DVXliffParser::Strings &strings, const DVXliffUnit &unit, std::string_view text,
             quint32 statusOfSecond)
{
    const auto form = std::make_shared<DVString>();
    form->key = dv_stringFromUtf8(unit.key);
    form->uid = dv_stringFromUtf8(unit.uid);
    form->pluralForm = dv_stringFromUtf8(unit.pluralForm);
    form->note = dv_stringFromUtf8(unit.note);
    form->extractFormatFromString(dv_stringFromUtf8(text));

    DVStringGroupPtr &group = strings[form->key];
    if (group)
        group->status = statusOfSecond;
    else
        group = std::make_shared<DVStringGroup>();
    group->addStringForm(form);
}

} // namespace

DVXliffParser::Strings DVXliffParser::parseXliffData(QByteArrayView data, Strings *source,
                                                     quint32 stringStatus, DVErrorOr *error, bool needCues)
{
    Strings strings;
    Strings sourceStrings;
    *error = DVXliffReader::read(data, needCues, [&](const DVXliffUnit &unit) {
        if (!unit.targetIsEmptyMarked)
            addForm(strings, unit, unit.target, stringStatus);
        if (source && !unit.sourceIsEmptyMarked)
            addForm(sourceStrings, unit, unit.source, DVStringStatusUntranslated);
    });
    if (source)
        *source = sourceStrings;
    return strings;
}

DVXliffParser::Strings DVXliffParser::parseXliffData(QByteArrayView data, quint32 stringStatus,
                                                     DVErrorOr *error, bool needCues)
{
    return parseXliffData(data, nullptr, stringStatus, error, needCues);
}

DVXliffParser::Strings DVXliffParser::parseEditedStrings(QByteArrayView data, DVErrorOr *error, bool needCues)
{
    Strings strings;
    *error = DVXliffReader::read(data, needCues, [&](const DVXliffUnit &unit) {
        addForm(strings, unit, unit.target, DVStringStatusNone);
    });
    return strings;
}
