#include "IssueApi.h"

#include <QDateTime>
#include <QUuid>

namespace {

constexpr qsizetype longestText = 10000;
constexpr qsizetype longestCode = 200;

struct Issue
{
    QString hashcode;
    QString locale;
    QString text;
    QString type;
    QString subType;
};

Issue issueOf(const QJsonObject &body, QStringList *errors)
{
    const QJsonObject string = RestRequest::object(body, "string", errors);
    Issue issue;
    issue.text = RestRequest::text(body, "issueText", errors);
    issue.type = RestRequest::text(body, "issueTypeCode", errors);
    issue.subType = RestRequest::text(body, "issueSubTypeCode", errors);
    if (!errors->isEmpty())
        return issue;
    issue.hashcode = RestRequest::text(string, "hashcode", errors).section(u'[', 0, 0);
    issue.locale = RestRequest::text(string, "localeId", errors);
    if (issue.text.size() > longestText)
        errors->append(QStringLiteral("\"issueText\" may have %1 characters").arg(longestText));
    if (issue.type != u"TRANSLATION" && issue.type != u"SOURCE")
        errors->append(QStringLiteral("\"issueTypeCode\" must be TRANSLATION or SOURCE"));
    if (issue.subType.isEmpty() || issue.subType.size() > longestCode)
        errors->append(QStringLiteral("\"issueSubTypeCode\" must have 1 to %1 characters").arg(longestCode));
    return issue;
}

} // namespace

Answer IssueApi::create(const RestRequest &request)
{
    QStringList errors;
    const QJsonObject body = request.jsonBody(&errors);
    if (!errors.isEmpty())
        return RestRequest::invalid(errors);
    const Issue issue = issueOf(body, &errors);
    const CatalogueString *string = nullptr;
    if (errors.isEmpty() && !request.project.targetLocales.contains(issue.locale))
        errors.append(QStringLiteral("the project has no target locale \"%1\"").arg(issue.locale));
    else if (errors.isEmpty())
        string = m_catalogues.ofLocale(issue.locale, request.project).find(issue.hashcode);
    if (errors.isEmpty() && !string)
        errors.append(QStringLiteral("there is no string with the hashcode \"%1\"").arg(issue.hashcode));
    if (!errors.isEmpty())
        return RestRequest::invalid(errors);

    const QString uid = QUuid::createUuid().toString(QUuid::Id128);
    const QJsonObject line{
        {QStringLiteral("issueUid"), uid},
        {QStringLiteral("at"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
        {QStringLiteral("by"), request.caller.name},
        {QStringLiteral("localeId"), issue.locale},
        {QStringLiteral("hashcode"), issue.hashcode},
        {QStringLiteral("key"), string->key},
        {QStringLiteral("issueTypeCode"), issue.type},
        {QStringLiteral("issueSubTypeCode"), issue.subType},
        {QStringLiteral("issueText"), issue.text}};
    if (!m_folder.change([&] { return m_folder.append(QStringLiteral("issues.jsonl"), {line}); }))
        return RestRequest::failed();
    return RestRequest::success(QJsonObject{{QStringLiteral("issueUid"), uid}});
}
