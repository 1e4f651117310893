#include "FilesApi.h"

#include "FormFields.h"
#include "ImportedUnits.h"
#include "Multipart.h"
#include "TranslationDocument.h"

#include <QDateTime>

#include <algorithm>

namespace {

Answer xliffAnswer(const QByteArray &document)
{
    return {Answer::Status::Ok, "application/xml; charset=utf-8", document, {{"Cache-Control", "no-store"}}};
}

QStringList stepsOf(const FormFields &query)
{
    QStringList steps;
    for (int i = 0;; ++i) {
        const QString name = QStringLiteral("workflowStepUids[%1]").arg(i);
        if (!query.has(name))
            return steps;
        steps.append(query.value(name));
    }
}

bool isTranslated(const FormTexts &texts)
{
    return std::any_of(texts.begin(), texts.end(), [](const QString &text) { return !text.isEmpty(); });
}

// Where a string is worked on: one without a translation in the first step.
const WorkflowStep *stepOf(const CatalogueString &string, const StringStates &states, const Project &project,
                           const QString &locale)
{
    if (const auto *step = waitingStep(string, states, project.workflows, locale))
        return step;
    return isTranslated(publishedTexts(string, states)) ? nullptr : project.workflows.firstStep(locale);
}

// Takes the strings of an import in, each whole or not at all.
class Import
{
public:
    Import(const RestRequest &request, const Catalogue &catalogue)
        : m_request(request)
        , m_catalogue(catalogue)
        , m_now(QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs))
    {}

    void checkDocument(const ImportedStrings &strings)
    {
        const auto placeholders =
            placeholderProblems(strings, m_catalogue, m_request.project.sourceLocale, m_request.locale);
        for (auto string = strings.begin(); string != strings.end(); ++string) {
            QStringList problems = string->problems;
            if (const CatalogueString *known = m_catalogue.find(string.key()))
                problems += problemsOf(*known, *string) + placeholders.value(string.key());
            else
                problems.append(QStringLiteral("There is no string with this hashcode."));
            if (!problems.isEmpty())
                m_problems.insert(string.key(), problems);
        }
    }

    // Returns a line of history for each string that was taken.
    QList<QJsonObject> takeInto(StringStates &states, const ImportedStrings &strings)
    {
        QList<QJsonObject> lines;
        for (auto string = strings.begin(); string != strings.end(); ++string) {
            if (m_problems.contains(string.key()))
                continue;
            const CatalogueString &known = *m_catalogue.find(string.key());
            QString problem;
            const QString step = stepFor(known, *string, states, &problem);
            if (!problem.isEmpty()) {
                m_problems[string.key()].append(problem);
                continue;
            }
            take(known, *string, step, states);
            lines.append({{QStringLiteral("at"), m_now},
                          {QStringLiteral("by"), m_request.caller.name},
                          {QStringLiteral("event"), QStringLiteral("imported")},
                          {QStringLiteral("localeId"), m_request.locale},
                          {QStringLiteral("hashcode"), string.key()},
                          {QStringLiteral("workflowStepUid"), step}});
        }
        return lines;
    }

    Answer answer(qsizetype stringCount) const
    {
        QJsonArray errors;
        for (auto problem = m_problems.begin(); problem != m_problems.end(); ++problem)
            errors.append(QJsonObject{{QStringLiteral("stringHashCode"), problem.key()},
                                      {QStringLiteral("messages"), QJsonArray::fromStringList(*problem)}});
        return RestRequest::success(
            QJsonObject{{QStringLiteral("stringCount"), stringCount - m_problems.size()},
                        {QStringLiteral("translationImportErrors"), errors}});
    }

private:
    QStringList problemsOf(const CatalogueString &known, const ImportedString &string) const
    {
        QStringList problems;
        QString locale = string.targetLocale;
        if (!locale.isEmpty() && locale.replace(u'_', u'-') != m_request.locale)
            problems.append(QStringLiteral("The file is for the locale \"%1\", not for \"%2\".")
                                .arg(string.targetLocale, m_request.locale));
        const bool isPlural = !string.targets.contains(QStringLiteral("none"));
        if (known.isPlural() && !isPlural)
            problems.append(QStringLiteral("The string has plural forms."));
        else if (!known.isPlural() && (isPlural || string.targets.size() > 1))
            problems.append(QStringLiteral("The string has no plural forms."));
        return problems;
    }

    QString stepFor(const CatalogueString &known, const ImportedString &string, const StringStates &states,
                    QString *problem) const
    {
        const ProjectWorkflows &workflows = m_request.project.workflows;
        const WorkflowStep *current = waitingStep(known, states, workflows, m_request.locale);
        const WorkflowStep *step = workflows.step(string.step);
        if (string.step.isEmpty())
            step = current ? current : workflows.firstStep(m_request.locale);
        if (!step || !step->hasTarget(m_request.locale))
            *problem = QStringLiteral("The locale has no workflow step \"%1\".").arg(string.step);
        else if (!m_request.permissionsIn(*step).canTranslate)
            *problem = QStringLiteral("You may not translate in the step \"%1\".").arg(step->name);
        else if (current && current != step)
            *problem = QStringLiteral("The string is in the step \"%1\", not in \"%2\".")
                           .arg(current->name, step->name);
        return step ? step->uid : QString();
    }

    void take(const CatalogueString &known, const ImportedString &string, const QString &step,
              StringStates &states) const
    {
        StringState &state = stateFor(known, states);
        PendingTexts pending = state.pending.value_or(PendingTexts());
        pending.step = step;
        pending.by = m_request.caller.name;
        pending.at = m_now;
        for (auto target = string.targets.begin(); target != string.targets.end(); ++target)
            pending.targets.insert(target.key(), *target);
        state.pending = pending;
    }

    const RestRequest &m_request;
    const Catalogue &m_catalogue;
    QString m_now;
    QMap<QString, QStringList> m_problems; // by hashcode
};

} // namespace

Answer FilesApi::exportContent(const RestRequest &request)
{
    const FormFields query = FormFields::ofQuery(request.http);
    const QString type = query.value(QStringLiteral("retrievalType"));
    const QStringList steps = stepsOf(query);
    const ProjectWorkflows &workflows = request.project.workflows;
    QStringList errors;
    if (type != u"PUBLISHED" && type != u"PENDING")
        errors.append(QStringLiteral("\"retrievalType\" must be PUBLISHED or PENDING"));
    for (const QString &step : steps) {
        if (!workflows.step(step))
            errors.append(QStringLiteral("there is no workflow step \"%1\"").arg(step));
    }
    if (!errors.isEmpty())
        return RestRequest::invalid(errors);

    const Catalogue &catalogue = m_catalogues.ofLocale(request.locale, request.project);
    const StringStates &states = m_translations.states(request.locale);
    TranslationDocument document(request.project, request.locale);
    for (const CatalogueString &string : catalogue.strings()) {
        if (type == u"PUBLISHED") {
            document.add(string, publishedTexts(string, states));
            continue;
        }
        const WorkflowStep *step = stepOf(string, states, request.project, request.locale);
        if (step && (steps.isEmpty() || steps.contains(step->uid)))
            document.add(string, latestTexts(string, states));
    }
    return xliffAnswer(document.finished());
}

Answer FilesApi::importContent(const RestRequest &request)
{
    QString error;
    const auto parts = formParts(request.http.value("Content-Type"), request.http.body(), &error);
    if (!parts)
        return RestRequest::invalid({error});
    const auto file =
        std::find_if(parts->begin(), parts->end(), [](const FormPart &part) { return part.name == u"file"; });
    if (file == parts->end())
        return RestRequest::invalid({QStringLiteral("the part \"file\" is missing")});
    const auto strings = importedStrings(file->content, &error);
    if (!strings)
        return RestRequest::invalid({QStringLiteral("the file cannot be read: ") + error});

    Import import(request, m_catalogues.ofLocale(request.locale, request.project));
    import.checkDocument(*strings);
    const bool isKept = m_translations.change(
        request.locale, [&](StringStates &states) { return import.takeInto(states, *strings); });
    return isKept ? import.answer(strings->size()) : RestRequest::failed();
}
