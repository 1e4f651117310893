#include "Plant.h"

PlantNeeds needsOf(PlantKind kind)
{
    switch (kind) {
    case PlantKind::Monstera:
        return {60, 55, 70};
    case PlantKind::PeaceLily:
        return {35, 70, 80};
    case PlantKind::SnakePlant:
        return {45, 20, 30};
    case PlantKind::Basil:
        return {85, 80, 50};
    case PlantKind::AloeVera:
        return {90, 15, 20};
    case PlantKind::Lavender:
        return {100, 30, 25};
    case PlantKind::BostonFern:
        return {40, 75, 95};
    case PlantKind::Cactus:
        return {100, 10, 10};
    }
    return {50, 50, 50};
}
