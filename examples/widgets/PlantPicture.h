// Pictures of the plants, drawn rather than shipped.
#pragma once

#include "Plant.h"

#include <QWidget>

class QPainter;

// Paints a potted plant into `target`, keeping its proportions.
void paintPlant(QPainter &painter, const QRectF &target, PlantKind kind);

// A plant on a round, softly coloured ground.
void paintPlantBadge(QPainter &painter, const QRectF &target, PlantKind kind);

class PlantPicture : public QWidget
{
    Q_OBJECT

public:
    explicit PlantPicture(QWidget *parent = nullptr);

    void setKind(PlantKind kind);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    PlantKind m_kind = PlantKind::Monstera;
};
