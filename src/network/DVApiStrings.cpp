// DVApi: what a translator decided about strings, and what they wrote.
#include "DVApi.h"

#include "DVApiAnswer.h"
#include "DVNetwork.h"
#include "DVServerUrl.h"

#include "DVFolders.h"
#include "DVLog.h"
#include "DVMainQueue.h"
#include "DVPrivateFile.h"
#include "DVState.h"

#include <QHash>

#include <utility>

namespace {

using Failures = QMap<QString, QStringList>;
using Groups = QList<DVStringGroupPtr>;

constexpr QLatin1StringView noHashcode{"No hashcode for this string"};

QVariantMap statusBody(const Groups &strings)
{
    const QString step = DVState::shared().workflowStepUid();
    QVariantList entries;
    for (const auto &string : strings) {
        if (const QString uid = string->uid(); !uid.isEmpty())
            entries.append(QVariantMap{{QStringLiteral("hashcode"), uid},
                                       {QStringLiteral("currentWorkflowStepUid"), step}});
    }
    return {{QStringLiteral("localeId"), DVApiAnswer::currentLocale()}, {QStringLiteral("strings"), entries}};
}

// Why the platform refused strings, by hashcode, each once, in its order.
struct Refusals
{
    QStringList hashcodes;
    QHash<QString, QString> reasons;
};

Refusals refusalsFrom(const QJsonArray &failures)
{
    Refusals refusals;
    for (const QJsonValue element : failures) {
        const QJsonObject failure = element.toObject();
        const QString hashcode = dv_hashcode(failure.value(u"hashcode").toString());
        if (hashcode.isEmpty() || refusals.reasons.contains(hashcode))
            continue;
        refusals.hashcodes.append(hashcode);
        refusals.reasons.insert(hashcode, DVApiAnswer::text(failure.value(u"reason")));
    }
    return refusals;
}

Groups refusedStrings(const QString &status, const Groups &strings, const QJsonArray &failures)
{
    QHash<QString, Groups> known; // several keys may share a hashcode
    for (const auto &string : strings)
        known[string->uid()].append(string);
    const Refusals refusals = refusalsFrom(failures);
    Groups refused;
    for (const QString &hashcode : refusals.hashcodes) {
        const QString reason = DVApiAnswer::logLine(refusals.reasons.value(hashcode));
        const Groups found = known.value(hashcode);
        for (const auto &string : found)
            dv_logInfo(status % u" failed for " % string->key % u": " % reason);
        refused += found;
    }
    return refused;
}

void completeStatus(const QString &status, const Groups &strings, DVErrorOr error, const QJsonValue &json,
                    const DVApi::StatusCompletion &completion)
{
    const auto failures = DVApiAnswer::list(json, QLatin1StringView("failures"));
    if (!error && !failures)
        error = DVApiAnswer::unreadable();
    if (error)
        dv_logInfo(status % u" failed: " % error->description);
    const Groups failed = error ? strings : refusedStrings(status, strings, *failures);
    if (completion)
        completion(error, failed);
}

Failures allFailed(const DVStringGroups &strings, const DVError &error)
{
    Failures failures;
    for (auto string = strings.keyBegin(); string != strings.keyEnd(); ++string)
        failures.insert(*string, {error.description});
    return failures;
}

QString whyNotWritten(const std::variant<DVStringPtr, DVStringGroupPtr> &record)
{
    const auto *form = std::get_if<DVStringPtr>(&record);
    if (!form || !*form || (*form)->localizedFormat.isNull())
        return QStringLiteral("No text for this string");
    return (*form)->uid.isNull() ? QString(noHashcode) : QStringLiteral("This string is too long");
}

QStringList messagesOf(const QJsonValue &value)
{
    QStringList messages;
    const QJsonArray elements = value.isArray() ? value.toArray() : QJsonArray{value};
    for (const QJsonValue element : elements) {
        if (const QString message = DVApiAnswer::text(element); !message.isEmpty())
            messages.append(message);
    }
    return messages.isEmpty() ? QStringList{DVApiAnswer::unreadable().description} : messages;
}

Failures importFailures(const DVStringGroups &strings, const QJsonArray &errors)
{
    QHash<QString, QStringList> messages; // by hashcode; each form of a string may have its own
    for (const QJsonValue element : errors) {
        const QJsonObject error = element.toObject();
        const QString hashcode = dv_hashcode(error.value(u"stringHashCode").toString());
        if (!hashcode.isEmpty())
            messages[hashcode] += messagesOf(error.value(u"messages"));
    }
    Failures failures;
    for (auto string = strings.begin(); string != strings.end(); ++string) {
        const QString hashcode = *string ? (*string)->uid() : QString();
        if (const auto found = messages.constFind(hashcode); found != messages.constEnd())
            failures.insert(string.key(), *found);
    }
    return failures;
}

// Those that were not sent and those that were not taken.
Failures withFailures(Failures failures, const Failures &more)
{
    for (auto failure = more.begin(); failure != more.end(); ++failure)
        failures[failure.key()] += *failure;
    for (auto failure = failures.begin(); failure != failures.end(); ++failure)
        dv_logInfo(u"Save failed for " % failure.key() % u": " %
                   DVApiAnswer::logLine(failure->join(QLatin1StringView(", "))));
    return failures;
}

void completeSave(const DVStringGroups &strings, const Failures &unwritten, DVErrorOr error,
                  const QJsonValue &json, const DVApi::SaveCompletion &completion)
{
    const auto errors = DVApiAnswer::list(json, QLatin1StringView("translationImportErrors"));
    if (!error && !errors)
        error = DVApiAnswer::unreadable();
    if (error)
        dv_logInfo(u"Save failed: " % error->description);
    const Failures failures =
        error ? allFailed(strings, *error) : withFailures(unwritten, importFailures(strings, *errors));
    if (completion)
        completion(error, failures);
}

Failures unwrittenForms(const DVXliffWriter::Failures &failures)
{
    Failures unwritten;
    for (auto failure = failures.begin(); failure != failures.end(); ++failure)
        unwritten.insert(failure.key(), {whyNotWritten(*failure)});
    return unwritten;
}

} // namespace

void DVApi::submitStrings(const QList<DVStringGroupPtr> &strings, StatusCompletion withCompletion)
{
    setStatus(QStringLiteral("submittedStrings"), strings, std::move(withCompletion));
}

void DVApi::rejectStrings(const QList<DVStringGroupPtr> &strings, StatusCompletion withCompletion)
{
    setStatus(QStringLiteral("rejectedStrings"), strings, std::move(withCompletion));
}

void DVApi::setStatus(const QString &status, const QList<DVStringGroupPtr> &forStrings,
                      StatusCompletion withCompletion)
{
    Groups strings = forStrings;
    strings.removeAll(DVStringGroupPtr());
    if (strings.isEmpty()) {
        DVMainQueue::post([withCompletion] {
            if (withCompletion)
                withCompletion({}, {});
        });
        return;
    }
    DVNetwork::putPath(DVApiAnswer::projectPath(QLatin1StringView("workflows-strings-api"),
                                                u'/' % DVApiAnswer::pathPiece(status)),
                       false, DVAuthenticationUser, DVServerApi, statusBody(strings),
                       [status, strings, withCompletion](const DVErrorOr &error, const QJsonValue &json) {
                           completeStatus(status, strings, error, json, withCompletion);
                       });
}

void DVApi::saveStrings(const DVStringGroups &strings, const DVXliffHeader &header,
                        SaveCompletion withCompletion, const DVTransferPtr &transfer)
{
    const auto completeLater = [withCompletion](const DVErrorOr &error, const Failures &failures) {
        DVMainQueue::post([=] {
            if (withCompletion)
                withCompletion(error, failures);
        });
    };
    if (strings.isEmpty())
        return completeLater({}, {});
    const QString file = DVFolders::dorvaneFiles() % u'/' % saveFileName;
    DVXliffWriter::Failures unwritten;
    const QByteArray content =
        dv_escapedXliff(DVXliffWriter::documentFromStrings(strings, header, &unwritten));
    if (const DVErrorOr error = DVPrivateFile::write(file, content)) {
        dv_logInfo(u"Save failed: " % error->description);
        return completeLater(error, allFailed(strings, *error));
    }
    // Not what lies there by now: another process may have put its own file in this one's place.
    DVNetwork::postPath(
        DVApiAnswer::projectPath(QLatin1StringView("files-api"),
                                 u"/locales/" % DVApiAnswer::pathPiece(DVApiAnswer::currentLocale()) %
                                     u"/content/import"),
        DVAuthenticationUser, DVFileAttachment{file, content}, QStringLiteral("file"),
        [strings, failures = unwrittenForms(unwritten), withCompletion](const DVErrorOr &error,
                                                                        const QJsonValue &json) {
            completeSave(strings, failures, error, json, withCompletion);
        },
        transfer);
}

void DVApi::createIssueForString(const DVStringGroupPtr &string, Completion withCompletion)
{
    if (!string || string->uid().isEmpty()) {
        DVMainQueue::post([withCompletion] {
            if (withCompletion)
                withCompletion(DVError{QStringLiteral("dorvane.SDK"), 500, QString(noHashcode)});
        });
        return;
    }
    if (string->rejectDescription.isNull())
        string->rejectDescription = QStringLiteral("");
    const QVariantMap about{{QStringLiteral("hashcode"), string->uid()},
                            {QStringLiteral("localeId"), DVApiAnswer::currentLocale()}};
    const QVariantMap body{{QStringLiteral("string"), about},
                           {QStringLiteral("issueText"), string->rejectDescription},
                           {QStringLiteral("issueSubTypeCode"), string->rejectReason},
                           {QStringLiteral("issueTypeCode"), QStringLiteral("TRANSLATION")}};
    DVNetwork::postPath(DVApiAnswer::projectPath(QLatin1StringView("issues-api"), QStringLiteral("/issues")),
                        false, DVAuthenticationUser, DVServerApi, body,
                        [withCompletion](const DVErrorOr &error, const QJsonValue &) {
                            if (withCompletion)
                                withCompletion(error);
                        });
}
