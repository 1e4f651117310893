// Inline text: a text as the content of an XLIFF source or target.
#pragma once

#include <QByteArray>
#include <QString>

// Escaped, with each placeholder of Qt's and each printf-style one in a <ph> element, because applications
// read a percent sign elsewhere as one to show.
QByteArray inlineXliff(const QString &text);
// The same of a translation: a printf-style placeholder counts only when the source has one of the same
// conversion, so that a translated "10%ige" is no argument.
QByteArray inlineXliff(const QString &text, const QString &source);
