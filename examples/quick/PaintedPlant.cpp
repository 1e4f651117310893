#include "PaintedPlant.h"

#include "GlyphPainting.h"
#include "PlantPainting.h"

#include <QPainter>

void PaintedPlant::paint(QPainter *painter)
{
    switch (m_frame) {
    case Badge:
        paintPlantBadge(*painter, boundingRect(), PlantKind(m_kind));
        break;
    case Window:
        paintPlantWindow(*painter, boundingRect(), PlantKind(m_kind));
        break;
    case Drop:
        paintGlyph(*painter, boundingRect(), GlyphShape::Drop);
        break;
    case Leaf:
        paintGlyph(*painter, boundingRect(), GlyphShape::Leaf);
        break;
    case Calendar:
        paintGlyph(*painter, boundingRect(), GlyphShape::Calendar);
        break;
    }
}

void PaintedPlant::setKind(int kind)
{
    m_kind = kind;
    update();
}

void PaintedPlant::setFrame(Frame frame)
{
    m_frame = frame;
    update();
}
