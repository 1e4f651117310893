// What the application keeps about a plant.
#pragma once

#include <QDate>

enum class PlantKind { Monstera, PeaceLily, SnakePlant, Basil, AloeVera, Lavender, BostonFern, Cactus };
inline constexpr int plantKindCount = 8;

enum class Place { LivingRoom, Kitchen, Bedroom, Study, Bathroom, Balcony };
inline constexpr int placeCount = 6;

enum class Light { FullSun, BrightShade, Shade };
inline constexpr int lightCount = 3;

struct Plant
{
    PlantKind kind = PlantKind::Monstera;
    Place place = Place::LivingRoom;
    Light light = Light::BrightShade;
    int waterEveryDays = 7;
    int millilitres = 200;
    QDate lastWatered;

    QDate nextWatering() const { return lastWatered.addDays(waterEveryDays); }
    // 0 on the day itself, negative when it is late.
    int daysUntilWatering(QDate today) const { return int(today.daysTo(nextWatering())); }
};

// What a kind of plant needs, whoever owns it; 0 to 100.
struct PlantNeeds
{
    int light;
    int water;
    int humidity;
};
PlantNeeds needsOf(PlantKind kind);
