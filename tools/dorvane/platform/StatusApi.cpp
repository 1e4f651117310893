#include "StatusApi.h"

#include <QDateTime>
#include <QSet>

#include <algorithm>

namespace {

struct Move
{
    QString hashcode;
    QString step;
};

QList<Move> movesOf(const QJsonObject &body, QStringList *errors)
{
    QList<Move> moves;
    QSet<QString> known;
    const QJsonArray strings = RestRequest::list(body, "strings", errors);
    for (const QJsonValue string : strings) {
        if (!string.isObject()) {
            errors->append(QStringLiteral("\"strings\" must hold objects"));
            break;
        }
        const QString hashcode = RestRequest::text(string.toObject(), "hashcode", errors).section(u'[', 0, 0);
        const QString step = RestRequest::text(string.toObject(), "currentWorkflowStepUid", errors);
        if (!known.contains(hashcode))
            moves.append({hashcode, step});
        known.insert(hashcode);
    }
    return moves;
}

class Mover
{
public:
    Mover(const RestRequest &request, const QString &locale, const Catalogue &catalogue, bool forward)
        : m_request(request)
        , m_locale(locale)
        , m_catalogue(catalogue)
        , m_forward(forward)
        , m_now(QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs))
    {}

    QList<QJsonObject> moveAll(const QList<Move> &moves, StringStates &states)
    {
        QList<QJsonObject> lines;
        for (const Move &move : moves) {
            const QString problem = problemOf(move, states);
            if (problem.isEmpty())
                lines.append(moved(*m_catalogue.find(move.hashcode), move.step, states));
            else
                m_failures.append(QJsonObject{{QStringLiteral("hashcode"), move.hashcode},
                                              {QStringLiteral("reason"), problem}});
        }
        return lines;
    }

    Answer answer(qsizetype count) const
    {
        return RestRequest::success(QJsonObject{{QStringLiteral("successCount"), count - m_failures.size()},
                                                {QStringLiteral("failures"), m_failures}});
    }

private:
    const WorkflowStep *targetStep(const QString &step) const
    {
        const ProjectWorkflows &workflows = m_request.project.workflows;
        return m_forward ? workflows.stepAfter(step, m_locale) : workflows.stepBefore(step, m_locale);
    }

    // Null when the string can be moved.
    QString problemOf(const Move &move, const StringStates &states) const
    {
        const WorkflowStep *step = m_request.project.workflows.step(move.step);
        const CatalogueString *string = m_catalogue.find(move.hashcode);
        if (!string)
            return QStringLiteral("There is no string with this hashcode.");
        if (!step || !step->hasTarget(m_locale))
            return QStringLiteral("The locale has no workflow step \"%1\".").arg(move.step);
        const StepPermissions permissions = m_request.permissionsIn(*step);
        if (m_forward ? !permissions.canSubmit : !permissions.canReject)
            return QStringLiteral("You may not %1 strings in the step \"%2\".")
                .arg(m_forward ? QStringLiteral("submit") : QStringLiteral("reject"), step->name);
        const WorkflowStep *current = waitingStep(*string, states, m_request.project.workflows, m_locale);
        if (current && current != step)
            return QStringLiteral("The string is in the step \"%1\".").arg(current->name);
        const FormTexts texts = latestTexts(*string, states);
        if (std::all_of(texts.begin(), texts.end(), [](const QString &text) { return text.isEmpty(); }))
            return QStringLiteral("The string has no translation.");
        if (!m_forward && !targetStep(move.step))
            return QStringLiteral("There is no step before \"%1\".").arg(step->name);
        return {};
    }

    QJsonObject moved(const CatalogueString &string, const QString &from, StringStates &states) const
    {
        const FormTexts texts = latestTexts(string, states);
        StringState &state = stateFor(string, states);
        const WorkflowStep *to = targetStep(from);
        if (to) {
            state.pending = PendingTexts{to->uid, texts, m_request.caller.name, m_now};
        } else {
            publish(string, texts, state);
        }
        QJsonObject line{
            {QStringLiteral("at"), m_now},
            {QStringLiteral("by"), m_request.caller.name},
            {QStringLiteral("event"), m_forward ? QStringLiteral("submitted") : QStringLiteral("rejected")},
            {QStringLiteral("localeId"), m_locale},
            {QStringLiteral("hashcode"), string.hashcode},
            {QStringLiteral("workflowStepUid"), from}};
        if (to)
            line.insert(QStringLiteral("to"), to->uid);
        else
            line.insert(QStringLiteral("published"), true);
        return line;
    }

    static void publish(const CatalogueString &string, const FormTexts &texts, StringState &state)
    {
        state.pending.reset();
        for (auto text = texts.begin(); text != texts.end(); ++text) {
            if (text->isEmpty())
                continue;
            state.published.insert(text.key(), *text);
            state.replaced.insert(text.key(), string.targets.value(text.key()));
        }
    }

    const RestRequest &m_request;
    QString m_locale;
    const Catalogue &m_catalogue;
    bool m_forward;
    QString m_now;
    QJsonArray m_failures;
};

} // namespace

Answer StatusApi::move(const RestRequest &request, bool forward)
{
    QStringList errors;
    const QJsonObject body = request.jsonBody(&errors);
    const QString locale = RestRequest::text(body, "localeId", &errors);
    const QList<Move> moves = movesOf(body, &errors);
    if (errors.isEmpty() && !request.project.targetLocales.contains(locale))
        errors.append(QStringLiteral("the project has no target locale \"%1\"").arg(locale));
    if (!errors.isEmpty())
        return RestRequest::invalid(errors);

    Mover mover(request, locale, m_catalogues.ofLocale(locale, request.project), forward);
    const bool isKept =
        m_translations.change(locale, [&](StringStates &states) { return mover.moveAll(moves, states); });
    return isKept ? mover.answer(moves.size()) : RestRequest::failed();
}
