#include "ProjectEdit.h"

#include "DeliveryKey.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

constexpr int keyBits = 256;

// A JSON text with its quotes.
QString quoted(const QString &text)
{
    const QByteArray list = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(list.sliced(1, list.size() - 2));
}

QString quotedList(const QStringList &texts)
{
    QStringList parts;
    for (const QString &text : texts)
        parts.append(quoted(text));
    return QStringLiteral("[%1]").arg(parts.join(QStringLiteral(", ")));
}

// Part of every delivery address, so of the simplest letters.
QString projectIdFor(const QString &name)
{
    static const QRegularExpression others(QStringLiteral("[^a-z0-9]+"));
    static const QRegularExpression ends(QStringLiteral("^-+|-+$"));
    const QString id = name.toLower().replace(others, QStringLiteral("-")).remove(ends);
    return id.isEmpty() ? QStringLiteral("project") : id;
}

} // namespace

Project freshProject(const QString &folder, const QString &sourceLocale)
{
    Project project;
    project.name = QDir(QDir::cleanPath(QDir(folder).absolutePath())).dirName();
    project.projectId = projectIdFor(project.name);
    project.sourceLocale = sourceLocale;
    project.deliveryKey = freshDeliveryKey(keyBits);
    return project;
}

QByteArray projectJson(const Project &project)
{
    QString json = QStringLiteral("{\n    \"projectId\": %1,\n    \"name\": %2,\n    \"sourceLocale\": %3,\n")
                       .arg(quoted(project.projectId), quoted(project.name), quoted(project.sourceLocale));
    json += QStringLiteral("    \"targetLocales\": %1,\n    \"deliveryKey\": %2\n}\n")
                .arg(quotedList(project.targetLocales), quoted(project.deliveryKey));
    return json.toUtf8();
}

QByteArray withTargetLocale(const QByteArray &json, const QString &locale)
{
    static const QRegularExpression list(
        QStringLiteral("\"targetLocales\"\\s*:\\s*\\[(\\s*)((?:\"[^\"]*\"(\\s*,\\s*|\\s*))*)\\]"));
    QString text = QString::fromUtf8(json);
    const auto match = list.match(text);
    if (match.hasMatch()) {
        const QString before = match.captured(2).trimmed();
        const QString indentation =
            match.captured(1).contains(u'\n') ? match.captured(1) : QStringLiteral(" ");
        const QString separator = before.isEmpty() ? QString() : QString(u"," + indentation);
        text.insert(match.capturedStart(2) + before.size(), separator + quoted(locale));
    } else if (!text.contains(QLatin1StringView("\"targetLocales\""))) {
        const QString member = QStringLiteral("\n    \"targetLocales\": %1,").arg(quotedList({locale}));
        text.insert(text.indexOf(u'{') + 1, member);
    }
    QString error;
    const auto project = Project::fromJson(text.toUtf8(), &error);
    return project && project->targetLocales.contains(locale) ? text.toUtf8() : QByteArray();
}
