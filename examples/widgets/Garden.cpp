#include "Garden.h"

#include <algorithm>

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
    case Qt::DisplayRole:
        return PlantWords::name(one.kind);
    case KindRole:
        return int(one.kind);
    case PlaceRole:
        return PlantWords::place(one.place);
    case DueRole:
        return one.daysUntilWatering(m_today);
    default:
        return {};
    }
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
}

void Garden::setLastWatered(int row, QDate date)
{
    m_plants[size_t(row)].lastWatered = date;
    Q_EMIT dataChanged(index(row), index(row));
}
