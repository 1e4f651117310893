// PackCheck: what is not published because users would stumble over it.
#pragma once

#include <QByteArray>
#include <QString>

// Tells errors and warnings on standard error; false when there is an error. `locale` is that of the
// targets; null: the document names it.
bool passesCheck(const QString &path, const QByteArray &document, const QString &locale);
