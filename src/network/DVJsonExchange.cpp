#include "DVJsonExchange.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

struct DecodedAnswer
{
    DVErrorOr error;
    QJsonValue json{QJsonValue::Undefined};
};

// An empty body is no JSON and no error.
DVErrorOr decodeJson(const QByteArray &body, QJsonValue *json)
{
    if (body.isEmpty())
        return {};
    QJsonParseError failure;
    const QJsonDocument document = QJsonDocument::fromJson(body, &failure);
    if (document.isObject())
        *json = document.object();
    else if (document.isArray())
        *json = document.array();
    else
        return DVError{QStringLiteral("dorvane.SDK"), int(failure.error),
                       u"Invalid JSON: " % failure.errorString() % u" at offset " %
                           QString::number(failure.offset)};
    return {};
}

DecodedAnswer decodedAnswer(const DVErrorOr &connectionError, const DVHttpResponse &response)
{
    DecodedAnswer outcome;
    outcome.error = connectionError;
    if (!outcome.error)
        outcome.error = decodeJson(response.body, &outcome.json);
    if (!outcome.error && !DVNetwork::isSuccessStatusCode(response.statusCode))
        outcome.error = DVNetwork::errorFromJson(outcome.json, response.statusCode);
    if (!outcome.error && response.methodChanged)
        outcome.error = DVError{QStringLiteral("dorvane.API"), response.statusCode,
                                QStringLiteral("The request was redirected and not delivered")};
    return outcome;
}

} // namespace

void DVJsonExchange::send(const DVHttpRequest &request, DVJsonCompletion completion,
                          const std::shared_ptr<const QString> &bodyDebug)
{
    const auto outcome = std::make_shared<DecodedAnswer>();
    DVHttpTransport::send(
        request,
        [outcome](const DVErrorOr &error, const DVHttpResponse &response) {
            *outcome = decodedAnswer(error, response);
        },
        [=](const DVErrorOr &, const DVHttpResponse &response) {
            DVNetwork::debugRequest(request, response, outcome->error, outcome->json,
                                    bodyDebug ? *bodyDebug : QString());
            if (completion)
                completion(outcome->error, outcome->json);
        });
}
