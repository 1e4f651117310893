// Garden: the user's plants, as a list model.
#pragma once

#include "Plant.h"

#include <QAbstractListModel>

#include <vector>

// One row per plant; the display role is the plant's name, and `KindRole` and `DueRole` (days until
// the next watering) are for the delegate. The plants live in memory only: it is an example.
class Garden : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role { KindRole = Qt::UserRole, PlaceRole, DueRole };

    explicit Garden(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    QDate today() const { return m_today; }
    const Plant &plant(int row) const { return m_plants[size_t(row)]; }
    int plantsToWater() const;
    // Days until the next watering of any plant that is not due yet; -1 without one.
    int daysUntilNextWatering() const;

    void add(const Plant &plant);
    void setLastWatered(int row, QDate date);

private:
    QDate m_today;
    std::vector<Plant> m_plants;
};
