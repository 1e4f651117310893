// Answer: what the platform says to one request.
#pragma once

#include <QByteArray>
#include <QHttpServerResponder>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>

struct Answer
{
    using Status = QHttpServerResponder::StatusCode;

    Status status = Status::Ok;
    QByteArray contentType; // empty: no body belongs to this answer
    QByteArray body;
    QList<QPair<QByteArray, QByteArray>> headers;

    static Answer text(Status status, const QString &line);
    // The platform's envelope: {"response": {"code": code, ...members}}.
    static Answer envelope(Status status, const QString &code, QJsonObject members);
    static Answer methodNotAllowed(const QByteArray &allowed);
};
