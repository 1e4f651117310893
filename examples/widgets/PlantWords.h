// PlantWords: the words for what the application keeps about a plant.
#pragma once

#include "Plant.h"

#include <QCoreApplication>
#include <QString>

// Words are looked up whenever they are shown, so that they follow the language.
class PlantWords
{
    Q_DECLARE_TR_FUNCTIONS(PlantWords)

public:
    static QString name(PlantKind kind);
    static QString care(PlantKind kind);
    static QString place(Place place);
    static QString light(Light light);
    // "200 ml", in the digits of the user.
    static QString amount(int millilitres);
    // "in 3 days", "today", "2 days late".
    static QString due(int days);
};
