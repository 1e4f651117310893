// TypedText: strings as people write them in a line of JSON, with arguments as format specifiers.
#pragma once

#include <DVCapsules.h>
#include <DVString.h>

#include <QJsonObject>
#include <QList>
#include <QStringList>

// The format specifiers in the forms of the strings (null ones have none), each once.
QStringList argumentsOf(const QList<DVStringGroupPtr> &strings);

// The text with a capsule for each of the specifiers, wherever it stands in the text; the longest that fits.
QList<DVCapsuleRun> runsOfTypedText(const QString &text, const QStringList &specifiers);

// Texts by form, without markers.
QJsonObject jsonFromForms(const DVStringGroup &string);
