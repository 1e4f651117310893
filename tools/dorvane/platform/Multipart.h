// Multipart: the parts of a multipart/form-data body (RFC 7578).
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

struct FormPart
{
    QString name;
    QString fileName; // null: it is no file
    QByteArray contentType;
    QByteArray content;
};

// `contentType` is the request's, with the boundary. Takes what clients of HTTP send: parts whose disposition
// is "form-data" or "multipart/form-data", text before the first and behind the last delimiter. Nothing after
// `error` was set: no boundary, a part without an end, a name or a blank line, more than sixteen parts.
std::optional<QList<FormPart>> formParts(const QByteArray &contentType, const QByteArray &body,
                                         QString *error);

// "multipart/form-data" of "Multipart/Form-Data; boundary=x".
QByteArray mediaType(const QByteArray &contentType);
