// Pictures of the plants, drawn rather than shipped.
#pragma once

#include "Plant.h"

#include <QtGlobal>

QT_BEGIN_NAMESPACE
class QPainter;
class QRectF;
QT_END_NAMESPACE

// Paints a potted plant into `target`, keeping its proportions.
void paintPlant(QPainter &painter, const QRectF &target, PlantKind kind);

// A plant on a round, softly coloured ground.
void paintPlantBadge(QPainter &painter, const QRectF &target, PlantKind kind);

// An arched window with the plant on its sill.
void paintPlantWindow(QPainter &painter, const QRectF &target, PlantKind kind);
