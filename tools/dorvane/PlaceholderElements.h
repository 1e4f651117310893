// Placeholder elements: where arguments of a text stand in a delivered document.
#pragma once

#include <QByteArray>

// A copy of a well-formed XLIFF document in UTF-8 in which each of Qt's placeholders (%1 to %99, %L1,
// %n, %Ln) in a source or target stands inside a <ph> element: elsewhere applications read a percent
// sign as one to show, and as no argument. What is in a <ph> already, and everything else, stays to the
// byte. `count`: how many were put into one.
QByteArray withPlaceholderElements(const QByteArray &document, int *count);
