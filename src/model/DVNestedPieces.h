// DVNestedPieces: the marked pieces of a displayed text, and which of them stand inside which.
#pragma once

#include "DVCueMarkers.h"
#include "DVPrivateExport.h"

#include <optional>

struct DVNestedPiece
{
    DVEditionItem item;
    QList<qsizetype> children; // the numbers of those directly inside it, leftmost first
    QString text;              // the piece with each string inside it emptied, as lookups expect it
};

// An empty string between its markers: what is left of a string inside another.
inline constexpr QStringView dv_emptyNestedString = u"\u200B\u2062";

// Deeply nested pieces repeat each other: the sum of their lengths grows with the square of the text. What is
// longer together than this is not looked at any further. UTF-16 units.
inline constexpr qsizetype dv_maximumSumOfPieces = qsizetype(8) << 20;

// `items` in the order of dv_localizedStringsInString(): a piece comes after those inside it. Nothing when
// they are unreasonably long together. Linear in the text.
DORVANE_PRIVATE_EXPORT std::optional<QList<DVNestedPiece>> dv_nestedPieces(const QList<DVEditionItem> &items);

// A text with a single piece is taken whole: here it is cut to its markers, and its range with it.
DORVANE_PRIVATE_EXPORT QList<DVEditionItem> dv_croppedToMarkers(QList<DVEditionItem> items);
