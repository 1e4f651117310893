#include "PlantWords.h"

#include <QLocale>

QString PlantWords::name(PlantKind kind)
{
    switch (kind) {
    case PlantKind::Monstera:
        return tr("Monstera");
    case PlantKind::PeaceLily:
        return tr("Peace lily");
    case PlantKind::SnakePlant:
        return tr("Snake plant");
    case PlantKind::Basil:
        return tr("Basil");
    case PlantKind::AloeVera:
        return tr("Aloe vera");
    case PlantKind::Lavender:
        return tr("Lavender");
    case PlantKind::BostonFern:
        return tr("Boston fern");
    case PlantKind::Cactus:
        return tr("Cactus");
    }
    return {};
}

QString PlantWords::care(PlantKind kind)
{
    switch (kind) {
    case PlantKind::Monstera:
        return tr(
            "Let the top of the soil dry before you water again. Wipe the leaves now and then: dust takes "
            "their light away.");
    case PlantKind::PeaceLily:
        return tr(
            "Drooping leaves are its way of asking for water. It recovers within hours of a good drink.");
    case PlantKind::SnakePlant:
        return tr(
            "Forget it for a while and it will thank you. Too much water is the only thing it cannot bear.");
    case PlantKind::Basil:
        return tr(
            "Pick whole tips, never single leaves, and it will grow bushy. Water from below in the morning.");
    case PlantKind::AloeVera:
        return tr("Give it the sunniest spot you have and soil that drains quickly. In winter it rests.");
    case PlantKind::Lavender:
        return tr(
            "Cut it back after flowering, but leave some green. It prefers poor soil and a fresh breeze.");
    case PlantKind::BostonFern:
        return tr("Keep the soil moist and the air too: a bathroom with a window suits it best.");
    case PlantKind::Cactus:
        return tr("Hardly any water from autumn to spring. A cool winter brings flowers in May.");
    }
    return {};
}

QString PlantWords::place(Place place)
{
    switch (place) {
    case Place::LivingRoom:
        return tr("Living room");
    case Place::Kitchen:
        return tr("Kitchen");
    case Place::Bedroom:
        return tr("Bedroom");
    case Place::Study:
        return tr("Study");
    case Place::Bathroom:
        return tr("Bathroom");
    case Place::Balcony:
        return tr("Balcony");
    }
    return {};
}

QString PlantWords::light(Light light)
{
    switch (light) {
    case Light::FullSun:
        return tr("Full sun");
    case Light::BrightShade:
        return tr("Bright shade");
    case Light::Shade:
        return tr("Shade");
    }
    return {};
}

QString PlantWords::amount(int millilitres)
{
    return tr("%1 ml").arg(QLocale().toString(millilitres));
}

QString PlantWords::due(int days)
{
    if (days < 0)
        return tr("%Ln day(s) late", nullptr, -days);
    if (days == 0)
        return tr("today");
    return tr("in %Ln day(s)", nullptr, days);
}
