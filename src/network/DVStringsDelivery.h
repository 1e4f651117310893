// The steps that turn an answer of the delivery into the strings file and its two dates.
#pragma once

#include "DVHttpTransport.h"

#include <Dorvane/DVError.h>

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace DVStringsDelivery {

struct Content
{
    QByteArray strings; // null: there is nothing to write
    DVErrorOr error;
};

// Decrypts with the project's key and inflates. Thread-safe; the costly step.
Content decode(const QByteArray &body);

// Keeps the strings file that is there, unless one is kept already, and replaces it.
DVErrorOr replace(const QString &path, const QByteArray &strings);

// An error for a body in chunks that ends before a whole AES block: the network stack takes a connection
// that is closed between chunks for the end, and without a length nothing else tells.
DVErrorOr errorOfLength(const DVHttpResponse &response);

// What the status stands for; only 403 and 404 are errors.
DVErrorOr errorOfStatus(int status);

// The dates of an answer, on the device's clock; null pointers are not asked for. A date that the answer
// does not give leaves its place alone, but a status other than 304 without "Last-Modified"
// makes the download date invalid.
void readDates(const DVHttpResponse &response, QDateTime *downloadDate, QDateTime *expirationDate);

} // namespace DVStringsDelivery
