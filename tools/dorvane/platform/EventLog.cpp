#include "EventLog.h"

#include <DVFolders.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

// Null when the form has no such field. "+" is left alone: base64 has plus signs and no blanks.
QByteArray formField(const QByteArray &body, const QByteArray &name)
{
    const QByteArray start = name + '=';
    for (const QByteArray &pair : body.split('&')) {
        if (pair.startsWith(start))
            return QByteArray::fromPercentEncoding(pair.mid(start.size()));
    }
    return {};
}

} // namespace

EventLog::EventLog(const QString &projectFolder)
    : m_folder(QDir(projectFolder).absoluteFilePath(QStringLiteral("received")))
{}

std::optional<QJsonArray> EventLog::eventsFromForm(const QByteArray &body, QString *error)
{
    const QByteArray data = formField(body, "data");
    const auto json = QByteArray::fromBase64Encoding(data, QByteArray::AbortOnBase64DecodingErrors);
    if (data.isEmpty() || !json) {
        *error = QStringLiteral("the field \"data\" must hold base64 text");
        return {};
    }
    const QJsonDocument document = QJsonDocument::fromJson(*json);
    const QJsonArray events = document.array();
    const bool objectsOnly =
        std::all_of(events.begin(), events.end(), [](const QJsonValue &event) { return event.isObject(); });
    if (!document.isArray() || !objectsOnly) {
        *error = QStringLiteral("\"data\" must hold a JSON array of objects");
        return {};
    }
    return events;
}

QString EventLog::append(const QJsonArray &events)
{
    QByteArray lines;
    for (const QJsonValue event : events)
        lines += QJsonDocument(event.toObject()).toJson(QJsonDocument::Compact) + '\n';
    QFile file(m_folder + QStringLiteral("/events.jsonl"));
    if (!DVFolders::makePrivateFolder(m_folder))
        return QStringLiteral("cannot create %1").arg(m_folder);
    // Events name users. A file system without modes refuses to set one, and that is no failure.
    const bool isOpen = file.open(QIODevice::Append);
    if (isOpen)
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    if (isOpen && file.write(lines) == lines.size() && file.flush())
        return {};
    return QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString());
}
