// PaintedPlant: the example's drawings as an item for QML.
#pragma once

#include <QQuickPaintedItem>

class PaintedPlant : public QQuickPaintedItem
{
    Q_OBJECT
    Q_PROPERTY(int kind MEMBER m_kind WRITE setKind)
    Q_PROPERTY(Frame frame MEMBER m_frame WRITE setFrame)

public:
    // A round badge or an arched window around a plant; or one of the icons, then without a plant.
    enum Frame { Badge, Window, Drop, Leaf, Calendar };
    Q_ENUM(Frame)

    using QQuickPaintedItem::QQuickPaintedItem;

    void paint(QPainter *painter) override;

private:
    void setKind(int kind);
    void setFrame(Frame frame);

    int m_kind = 0;
    Frame m_frame = Badge;
};
