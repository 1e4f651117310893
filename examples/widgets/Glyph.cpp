#include "Glyph.h"

#include <QPainter>

Glyph::Glyph(GlyphShape shape, QWidget *parent)
    : QWidget(parent)
    , m_shape(shape)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Glyph::sizeHint() const
{
    const int side = fontMetrics().height() * 2 + 4;
    return {side, side};
}

void Glyph::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintGlyph(painter, rect(), m_shape);
}
