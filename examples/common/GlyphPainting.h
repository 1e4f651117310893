// Small round icons, drawn.
#pragma once

#include <QtGlobal>

QT_BEGIN_NAMESPACE
class QPainter;
class QRectF;
QT_END_NAMESPACE

enum class GlyphShape { Drop, Leaf, Calendar };

// `target` is a square.
void paintGlyph(QPainter &painter, const QRectF &target, GlyphShape shape);
