#include "Project.h"

#include "DeliveryKey.h"
#include "JsonMembers.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

constexpr qint64 longestExpiry = qint64(10) * 366 * 86400; // seconds

void checkLocales(const Project &project, JsonMembers &members)
{
    const QString complaint = QStringLiteral("names \"%1\"; locales are written like \"fr-CA\"");
    if (!isLocaleName(project.sourceLocale))
        members.complain("sourceLocale", complaint.arg(project.sourceLocale));
    for (const QString &locale : project.targetLocales) {
        if (!isLocaleName(locale))
            members.complain("targetLocales", complaint.arg(locale));
    }
}

QString position(const QByteArray &json, qsizetype offset)
{
    const QByteArray before = json.left(offset);
    return QStringLiteral("line %1, column %2")
        .arg(before.count('\n') + 1)
        .arg(offset - before.lastIndexOf('\n'));
}

} // namespace

bool isLocaleName(const QString &locale)
{
    static const QRegularExpression tag(QStringLiteral("\\A[A-Za-z]{1,8}(-[A-Za-z0-9]{1,8}){0,8}\\z"));
    return tag.match(locale).hasMatch();
}

std::optional<Project> Project::fromJson(const QByteArray &json, QString *error)
{
    QJsonParseError syntax;
    const QJsonDocument document = QJsonDocument::fromJson(json, &syntax);
    if (syntax.error != QJsonParseError::NoError) {
        *error = QStringLiteral("%1 (%2)").arg(syntax.errorString(), position(json, syntax.offset));
        return {};
    }
    if (!document.isObject()) {
        *error = QStringLiteral("it must hold one JSON object");
        return {};
    }
    error->clear();
    JsonMembers members(document.object(), error);
    Project project;
    project.projectId = members.requiredText("projectId");
    project.name = members.text("name", project.projectId);
    project.sourceLocale = members.text("sourceLocale", QStringLiteral("en"));
    project.targetLocales = members.texts("targetLocales");
    if (members.has("versions"))
        project.versions = members.texts("versions");
    project.deliveryKey = members.requiredText("deliveryKey");
    project.expiresSeconds = members.integer("expiresSeconds", project.expiresSeconds, longestExpiry);
    project.deliveryEnabled = members.flag("deliveryEnabled", project.deliveryEnabled);
    project.access = ProjectAccess::fromJson(members);
    project.workflows = ProjectWorkflows::fromJson(members, project.sourceLocale, project.targetLocales);
    checkLocales(project, members);
    if (const QString problem = deliveryKeyProblem(project.deliveryKey); !problem.isEmpty())
        members.complain("deliveryKey", QStringLiteral("cannot be used: ") + problem);
    return error->isEmpty() ? std::optional(project) : std::nullopt;
}
