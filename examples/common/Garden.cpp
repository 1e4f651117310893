#include "Garden.h"

#include <algorithm>

namespace {

QDateTime noonOf(QDate date)
{
    return {date, QTime(12, 0)};
}

} // namespace

Garden::Garden(QObject *parent)
    : QAbstractListModel(parent)
    , m_today(QDate::currentDate())
{
    const auto ago = [this](int days) { return m_today.addDays(-days); };
    m_plants = {
        {PlantKind::Monstera, Place::LivingRoom, Light::BrightShade, 7, 400, ago(7)},
        {PlantKind::Basil, Place::Kitchen, Light::FullSun, 2, 150, ago(4)},
        {PlantKind::PeaceLily, Place::Bedroom, Light::Shade, 5, 250, ago(5)},
        {PlantKind::AloeVera, Place::Kitchen, Light::FullSun, 14, 100, ago(13)},
        {PlantKind::Lavender, Place::Balcony, Light::FullSun, 6, 200, ago(4)},
        {PlantKind::BostonFern, Place::Bathroom, Light::Shade, 4, 300, ago(1)},
        {PlantKind::SnakePlant, Place::Study, Light::BrightShade, 16, 150, ago(5)},
    };
}

int Garden::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_plants.size());
}

QVariant Garden::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Plant &one = plant(index.row());
    switch (role) {
    case KindRole:
        return int(one.kind);
    case PlaceRole:
        return int(one.place);
    case LightRole:
        return int(one.light);
    case RhythmRole:
        return one.waterEveryDays;
    case MillilitresRole:
        return one.millilitres;
    case LastWateredRole:
        return noonOf(one.lastWatered);
    case DueRole:
        return one.daysUntilWatering(m_today);
    case NeedsRole: {
        const PlantNeeds needs = needsOf(one.kind);
        return QVariantList{needs.light, needs.water, needs.humidity};
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> Garden::roleNames() const
{
    return {{KindRole, "kind"},
            {PlaceRole, "place"},
            {LightRole, "light"},
            {RhythmRole, "rhythm"},
            {MillilitresRole, "millilitres"},
            {LastWateredRole, "lastWatered"},
            {DueRole, "due"},
            {NeedsRole, "needs"}};
}

int Garden::plantsToWater() const
{
    return int(std::ranges::count_if(
        m_plants, [this](const Plant &one) { return one.daysUntilWatering(m_today) <= 0; }));
}

int Garden::daysUntilNextWatering() const
{
    int next = -1;
    for (const Plant &one : m_plants) {
        const int days = one.daysUntilWatering(m_today);
        if (days > 0 && (next < 0 || days < next))
            next = days;
    }
    return next;
}

void Garden::add(const Plant &plant)
{
    const int row = rowCount();
    beginInsertRows({}, row, row);
    m_plants.push_back(plant);
    endInsertRows();
    Q_EMIT changed();
}

void Garden::setLastWatered(int row, QDate date)
{
    m_plants[size_t(row)].lastWatered = date;
    Q_EMIT dataChanged(index(row), index(row));
    Q_EMIT changed();
}

QDateTime Garden::noonOfToday() const
{
    return noonOf(m_today);
}

void Garden::addPlant(int kind, int place, int light, int rhythm, int millilitres)
{
    add({PlantKind(kind), Place(place), Light(light), rhythm, millilitres, m_today});
}

void Garden::postpone(int row)
{
    setLastWatered(row, plant(row).lastWatered.addDays(1));
}

void Garden::waterAllThatAreDue()
{
    for (int row = 0; row < rowCount(); ++row) {
        if (plant(row).daysUntilWatering(m_today) <= 0)
            setLastWatered(row, m_today);
    }
}
