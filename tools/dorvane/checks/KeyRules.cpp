// Rules about keys, units and the document as a whole.
#include "Rule.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace {

bool isBlank(const QString &text)
{
    return QStringView(text).trimmed().isEmpty();
}

// Units of one key whose forms are the same replace each other.
void reportDuplicates(const CheckContext &context, const std::vector<qsizetype> &indexes)
{
    QHash<QString, const CheckedUnit *> byForm;
    const CheckedUnit *mixed = nullptr;
    const bool startsPlain = context.document.units[size_t(indexes.front())].form.isNull();
    for (const qsizetype index : indexes) {
        const CheckedUnit &unit = context.document.units[size_t(index)];
        if (unit.form.isNull() != startsPlain && !mixed)
            mixed = &unit;
        const CheckedUnit *earlier = byForm.value(unit.form);
        byForm.insert(unit.form, &unit);
        if (!earlier)
            continue;
        const bool isSame = earlier->target.text() == unit.target.text();
        context.add(RuleId::DuplicateKey, isSame ? Severity::Warning : Severity::Error, unit, unit.tag,
                    isSame
                        ? QStringLiteral("this key stands in the document twice, with the same text")
                        : QStringLiteral("this key stands in the document twice; this text replaces \"%1\"")
                              .arg(earlier->target.text().left(40)));
    }
    if (mixed)
        context.add(RuleId::DuplicateKey, Severity::Warning, *mixed, mixed->tag,
                    QStringLiteral("this key has plural forms and a text without one"));
}

void reportEmptyTarget(const CheckContext &context, const CheckedUnit &unit)
{
    const bool isMissing = !unit.target.isPresent();
    context.add(RuleId::EmptyTarget, Severity::Warning, unit, isMissing ? unit.tag : unit.target.element,
                isMissing ? QStringLiteral("there is no target: the string is not translated")
                          : QStringLiteral("the target is empty: the string is not translated"));
}

void reportLanguage(const CheckContext &context, const CheckedFile &file)
{
    const auto parts = [](QString locale) { return locale.replace(u'_', u'-').toLower().split(u'-'); };
    const QStringList expected = parts(context.locale);
    const QStringList written = parts(file.targetLanguage);
    const QString message = QStringLiteral("target-language is \"%1\", but these are the strings of \"%2\"")
                                .arg(file.targetLanguage, context.locale);
    if (expected.constFirst() != written.constFirst())
        context.add(RuleId::Language, Severity::Error, file.tag, message);
    else if (expected.size() == 2 && written.size() == 2 && expected[1].size() == written[1].size() &&
             expected[1] != written[1])
        context.add(RuleId::Language, Severity::Warning, file.tag, message);
}

} // namespace

void checkRoot(const CheckContext &context)
{
    const CheckedDocument &document = context.document;
    if (document.rootName != u"xliff")
        context.add(RuleId::NotXliff, Severity::Error, document.root,
                    QStringLiteral("the root element is <%1>, not <xliff>").arg(document.rootName));
    else if (!document.version.isEmpty() && !document.version.startsWith(u"1."))
        context.add(RuleId::NotXliff, Severity::Error, document.root,
                    QStringLiteral("this is XLIFF %1; applications read XLIFF 1.2").arg(document.version));
}

void checkLanguages(const CheckContext &context)
{
    for (const CheckedFile &file : context.document.files) {
        if (!context.locale.isEmpty() && !file.targetLanguage.isEmpty())
            reportLanguage(context, file);
    }
}

void checkStructure(const CheckContext &context)
{
    const CheckedDocument &document = context.document;
    for (const Place &place : document.unitsWithoutKey)
        context.add(RuleId::MissingKey, Severity::Warning, place,
                    QStringLiteral("this unit has no resname, so no lookup finds it"));
    qsizetype told = -1; // for each unit once
    for (const LostElement &element : document.lostElements) {
        if (std::exchange(told, element.unit) == element.unit)
            continue;
        const QString message =
            QStringLiteral("<%1> leaves no trace in the text; only <ph> is read").arg(element.name);
        context.add(RuleId::InlineElement, Severity::Warning, element.tag, message);
    }
    for (const CheckedUnit &unit : document.units) {
        for (const CheckedText *text : {&unit.source, &unit.target}) {
            if (text->elements > 1)
                context.add(RuleId::SeveralTargets, Severity::Error, unit, text->element,
                            QStringLiteral("the unit has %1 of these elements (alt-trans counts too); their "
                                           "texts are shown one behind the other")
                                .arg(text->elements));
        }
    }
}

void checkKeys(const CheckContext &context)
{
    for (const std::vector<qsizetype> &indexes : context.units) {
        if (indexes.size() > 1)
            reportDuplicates(context, indexes);
        const CheckedUnit &unit = context.document.units[size_t(indexes.front())];
        if (context.baseKeys && !context.baseKeys->contains(unit.key))
            context.add(RuleId::UnknownKey, Severity::Note, unit, unit.tag,
                        QStringLiteral("the base file does not have this key"));
    }
    if (!context.baseKeys || !context.isOn(RuleId::Untranslated))
        return;
    for (const QString &key : *context.baseKeys) {
        if (!context.units.contains(key))
            context.report({RuleId::Untranslated,
                            Severity::Warning,
                            context.document.root,
                            QStringLiteral("a key of the base file is missing"),
                            key,
                            {}});
    }
}

void checkTargets(const CheckContext &context)
{
    if (!context.isOn(RuleId::EmptyTarget))
        return;
    for (const CheckedUnit &unit : context.document.units) {
        if (isBlank(unit.target.text()) && !isBlank(unit.source.text()))
            reportEmptyTarget(context, unit);
    }
}

// A text of several words: names and "OK" are the same in many languages.
void checkSameAsSource(const CheckContext &context, const CheckedUnit &unit)
{
    if (!context.isTranslation() || unit.source.text() != unit.target.text())
        return;
    static const QRegularExpression words(QStringLiteral("\\p{L}{2,}[^\\p{L}]+\\p{Ll}{2,}"));
    if (words.match(unit.target.text()).hasMatch())
        context.add(RuleId::SameAsSource, Severity::Note, unit, context.document.placeOf(unit.target),
                    QStringLiteral("the target equals the source"));
}
