#include "Answer.h"

#include <QJsonDocument>

Answer Answer::text(Status status, const QString &line)
{
    return {status, "text/plain; charset=utf-8", line.toUtf8() + '\n', {}};
}

Answer Answer::envelope(Status status, const QString &code, QJsonObject members)
{
    members.insert(QStringLiteral("code"), code);
    const QJsonObject whole{{QStringLiteral("response"), members}};
    return {status, "application/json", QJsonDocument(whole).toJson(QJsonDocument::Compact), {}};
}

Answer Answer::methodNotAllowed(const QByteArray &allowed)
{
    Answer answer = text(Status::MethodNotAllowed,
                         QStringLiteral("This address answers to %1 only.").arg(QLatin1StringView(allowed)));
    answer.headers.append({"Allow", allowed});
    return answer;
}
