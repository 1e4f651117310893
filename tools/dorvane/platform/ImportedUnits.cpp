#include "ImportedUnits.h"

#include "Check.h"
#include "DeliveredFile.h"
#include "MarkedText.h"
#include "PlaceholderElements.h"
#include "XmlCharacters.h"
#include "XmlScanner.h"

#include <DVUtf8.h>
#include <DVXliffReader.h>

namespace {

const QString noForm = QStringLiteral("none");

// What the reader does not tell of a unit.
struct UnitPlace
{
    QString targetLocale;
    QString step;
};

QHash<QString, UnitPlace> placesOfUnits(const QByteArray &document)
{
    QHash<QString, UnitPlace> places;
    QString locale;
    XmlScanner scanner(document);
    for (auto kind = scanner.next(); kind != XmlScanner::End; kind = scanner.next()) {
        if (kind != XmlScanner::StartTag)
            continue;
        if (scanner.name() == "file")
            locale = scanner.attribute("target-language").value_or(QString());
        else if (scanner.name() == "trans-unit")
            places.insert(scanner.attribute("id").value_or(QString()),
                          {locale, scanner.attribute("phase-name").value_or(QString())});
    }
    return places;
}

QSet<QString> idsWithMarkers(const QByteArray &document)
{
    QSet<QString> ids;
    DVXliffReader::read(document, false, [&ids](const DVXliffUnit &unit) {
        if (hasMarkers(unit.target))
            ids.insert(dv_stringFromUtf8(unit.uid));
    });
    return ids;
}

void addProblem(ImportedString &string, const QString &problem)
{
    if (!string.problems.contains(problem))
        string.problems.append(problem);
}

QByteArray unitToCheck(const QString &hashcode, const QString &category, const QString &source,
                       const QString &target)
{
    const QString id = category == noForm ? hashcode : QStringLiteral("%1[%2]").arg(hashcode, category);
    return "<trans-unit id=\"" + xmlAttribute(id) + "\" resname=\"" + xmlAttribute(hashcode) + "\"><source>" +
           xliffOfMarkedText(source) + "</source><target>" + xliffOfMarkedText(target) +
           "</target></trans-unit>\n";
}

} // namespace

std::optional<ImportedStrings> importedStrings(const QByteArray &document, QString *error)
{
    *error = xliffProblem(document);
    if (!error->isEmpty())
        return {};
    int added = 0;
    const QByteArray content = withPlaceholderElements(document, &added);
    const auto places = placesOfUnits(content);
    const QSet<QString> marked = idsWithMarkers(content);
    ImportedStrings strings;
    DVXliffReader::read(content, true, [&](const DVXliffUnit &unit) {
        const QString id = dv_stringFromUtf8(unit.uid);
        const QString form = dv_stringFromUtf8(unit.pluralForm);
        ImportedString &string = strings[id.section(u'[', 0, 0)];
        const UnitPlace place = places.value(id);
        string.targetLocale = place.targetLocale;
        // "(null)" is what applications without a step write.
        string.step = place.step == u"(null)" ? QString() : place.step;
        const QString text = markedText(unit.target);
        string.targets.insert(form.isEmpty() ? noForm : form, text);
        if (!form.isEmpty() && !pluralCategories().contains(form))
            addProblem(string, QStringLiteral("\"%1\" is no plural form.").arg(form));
        if (text.isEmpty())
            addProblem(string, QStringLiteral("The translation is empty."));
        if (marked.contains(id))
            addProblem(string, QStringLiteral("The translation holds an invisible marker of the "
                                              "in-app tools (U+2062 to U+2064)."));
    });
    return strings;
}

QMap<QString, QStringList> placeholderProblems(const ImportedStrings &strings, const Catalogue &catalogue,
                                               const QString &sourceLocale, const QString &locale)
{
    QByteArray document = "<xliff version=\"1.2\"><file><body>\n";
    for (auto string = strings.begin(); string != strings.end(); ++string) {
        const CatalogueString *known = catalogue.find(string.key());
        if (!known)
            continue;
        for (auto target = string->targets.begin(); target != string->targets.end(); ++target)
            document += unitToCheck(string.key(), target.key(), known->sourceOf(target.key()), *target);
    }
    document += "</body></file></xliff>\n";
    CheckOptions options{locale, sourceLocale, nullptr, {}};
    for (const RuleId rule : {RuleId::MissingPlaceholder, RuleId::ExtraPlaceholder,
                              RuleId::ChangedPlaceholder, RuleId::RepeatedPlaceholder})
        options.rules.set(size_t(rule));
    QMap<QString, QStringList> problems;
    for (const Finding &finding : findingsIn(document, options)) {
        if (finding.severity == Severity::Error)
            problems[finding.key].append(finding.message + u'.');
    }
    return problems;
}
