// Inline text: a text as the content of an XLIFF source or target.
#pragma once

#include "FormatSpecifiers.h"

#include <QByteArray>

// Escaped, with each format specifier in a <ph> element, because applications read a percent sign
// elsewhere as one to show. `source`: of a target, the source text; a printf-style specifier counts only
// when the source has one of the same conversion, so that a translated "10%ige" is no argument.
QByteArray inlineXliff(const QString &text);
QByteArray inlineXliff(const QString &text, const QString &source);
