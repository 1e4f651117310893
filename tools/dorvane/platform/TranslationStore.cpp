#include "TranslationStore.h"

#include "MarkedText.h"

#include <DVPrivateFile.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <utility>

namespace {

QString fileName(const QString &locale)
{
    return QStringLiteral("translations/%1.json").arg(locale);
}

QJsonObject toJson(const FormTexts &texts)
{
    QJsonObject json;
    for (auto text = texts.begin(); text != texts.end(); ++text)
        json.insert(text.key(), jsonOfMarkedText(*text));
    return json;
}

QJsonObject toJson(const StringState &state)
{
    QJsonObject json{{QStringLiteral("hashcode"), state.hashcode}, {QStringLiteral("key"), state.key}};
    if (state.pending)
        json.insert(QStringLiteral("pending"),
                    QJsonObject{{QStringLiteral("workflowStepUid"), state.pending->step},
                                {QStringLiteral("targets"), toJson(state.pending->targets)},
                                {QStringLiteral("by"), state.pending->by},
                                {QStringLiteral("at"), state.pending->at}});
    if (!state.published.isEmpty()) {
        json.insert(QStringLiteral("published"), toJson(state.published));
        json.insert(QStringLiteral("replaced"), toJson(state.replaced));
    }
    return json;
}

// False when a text is of another type.
bool readTexts(const QJsonValue &json, FormTexts *texts)
{
    const QJsonObject object = json.toObject();
    for (auto member = object.begin(); member != object.end(); ++member) {
        const auto text = markedTextOfJson(member.value());
        if (!text)
            return false;
        texts->insert(member.key(), *text);
    }
    return json.isObject() || json.isUndefined();
}

std::optional<StringState> stateFromJson(const QJsonObject &json)
{
    StringState state;
    state.hashcode = json.value(QStringLiteral("hashcode")).toString();
    state.key = json.value(QStringLiteral("key")).toString();
    bool isGood = !state.hashcode.isEmpty() &&
                  readTexts(json.value(QStringLiteral("published")), &state.published) &&
                  readTexts(json.value(QStringLiteral("replaced")), &state.replaced);
    if (const QJsonValue given = json.value(QStringLiteral("pending")); !given.isUndefined()) {
        const QJsonObject pending = given.toObject();
        state.pending = PendingTexts{pending.value(QStringLiteral("workflowStepUid")).toString(),
                                     {},
                                     pending.value(QStringLiteral("by")).toString(),
                                     pending.value(QStringLiteral("at")).toString()};
        isGood = isGood && readTexts(pending.value(QStringLiteral("targets")), &state.pending->targets);
    }
    return isGood ? std::optional(state) : std::nullopt;
}

std::optional<StringStates> statesFromJson(const QByteArray &content)
{
    const QJsonValue strings = QJsonDocument::fromJson(content).object().value(QStringLiteral("strings"));
    if (!strings.isArray())
        return {};
    StringStates states;
    const QJsonArray list = strings.toArray();
    for (const QJsonValue string : list) {
        const auto state = stateFromJson(string.toObject());
        if (!state)
            return {};
        states.insert(state->hashcode, *state);
    }
    return states;
}

// Null when there is none.
const StringState *stateOf(const CatalogueString &string, const StringStates &states)
{
    const auto state = states.constFind(string.hashcode);
    return state == states.constEnd() || state->key != string.key ? nullptr : &*state;
}

QByteArray toFile(const QString &locale, const StringStates &states)
{
    QJsonArray strings;
    for (const StringState &state : states)
        strings.append(toJson(state));
    return QJsonDocument(
               QJsonObject{{QStringLiteral("localeId"), locale}, {QStringLiteral("strings"), strings}})
        .toJson();
}

} // namespace

StringState &stateFor(const CatalogueString &string, StringStates &states)
{
    StringState &state = states[string.hashcode];
    if (state.key != string.key)
        state = StringState();
    state.hashcode = string.hashcode;
    state.key = string.key;
    return state;
}

FormTexts publishedTexts(const CatalogueString &string, const StringStates &states)
{
    FormTexts texts = string.targets;
    const StringState *state = stateOf(string, states);
    if (!state)
        return texts;
    for (auto text = state->published.begin(); text != state->published.end(); ++text) {
        if (string.targets.value(text.key()) == state->replaced.value(text.key()))
            texts.insert(text.key(), *text);
    }
    return texts;
}

FormTexts latestTexts(const CatalogueString &string, const StringStates &states)
{
    FormTexts texts = publishedTexts(string, states);
    const StringState *state = stateOf(string, states);
    if (state && state->pending) {
        const FormTexts &waiting = state->pending->targets;
        for (auto text = waiting.begin(); text != waiting.end(); ++text)
            texts.insert(text.key(), *text);
    }
    return texts;
}

const WorkflowStep *waitingStep(const CatalogueString &string, const StringStates &states,
                                const ProjectWorkflows &workflows, const QString &locale)
{
    const StringState *state = stateOf(string, states);
    if (!state || !state->pending)
        return nullptr;
    const WorkflowStep *step = workflows.step(state->pending->step);
    return step && step->hasTarget(locale) ? step : workflows.firstStep(locale);
}

TranslationStore::TranslationStore(ReceivedFolder &folder, ReceivedFolder::Log log)
    : m_folder(folder)
    , m_log(std::move(log))
{}

QString TranslationStore::filePath(const QString &locale) const
{
    return m_folder.path(fileName(locale));
}

const StringStates &TranslationStore::states(const QString &locale)
{
    File &file = m_files[locale];
    if (file.stamp != FileStamp::of(filePath(locale))) {
        if (const QString problem = read(locale, file); !problem.isEmpty())
            m_log(problem);
    }
    return file.states;
}

QString TranslationStore::read(const QString &locale, File &file) const
{
    const QString path = filePath(locale);
    file.stamp = FileStamp::of(path);
    if (!file.stamp) {
        file.states.clear();
        return {};
    }
    QByteArray content;
    if (const DVErrorOr error = DVPrivateFile::read(path, &content))
        return QStringLiteral("cannot read %1: %2").arg(path, error->description);
    const auto states = statesFromJson(content);
    if (!states)
        return QStringLiteral("cannot read %1: it is not what this server writes; mend it or take it away")
            .arg(path);
    file.states = *states;
    return {};
}

bool TranslationStore::change(const QString &locale, const Edit &edit)
{
    return m_folder.change([&]() -> QString {
        File &file = m_files[locale];
        QString problem = read(locale, file);
        if (!problem.isEmpty())
            return problem;
        StringStates states = file.states;
        const QList<QJsonObject> lines = edit(states);
        if (lines.isEmpty())
            return {};
        problem = m_folder.write(fileName(locale), toFile(locale, states));
        if (!problem.isEmpty())
            return problem;
        file = {FileStamp::of(filePath(locale)), states};
        // What is done is done: a failure here would have the client send it again, and be refused.
        const QString unlisted = m_folder.append(QStringLiteral("statuses.jsonl"), lines);
        if (!unlisted.isEmpty())
            m_log(unlisted);
        return {};
    });
}
