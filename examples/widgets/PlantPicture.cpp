#include "PlantPicture.h"

#include "PlantPainting.h"

#include <QPainter>

PlantPicture::PlantPicture(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void PlantPicture::setKind(PlantKind kind)
{
    m_kind = kind;
    update();
}

QSize PlantPicture::sizeHint() const
{
    const int side = fontMetrics().height() * 8;
    return {side, side};
}

void PlantPicture::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintPlantBadge(painter, rect(), m_kind);
}
