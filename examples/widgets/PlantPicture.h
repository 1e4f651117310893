// PlantPicture: a plant on a round, softly coloured ground.
#pragma once

#include "Plant.h"

#include <QWidget>

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
