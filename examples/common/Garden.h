// Garden: the user's plants, as a list model.
#pragma once

#include "Plant.h"

#include <QAbstractListModel>
#include <QDateTime>

#include <vector>

// One row per plant. It holds no words: those belong to the screens, which know the language. The plants live
// in memory only: it is an example.
class Garden : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY changed)
    Q_PROPERTY(int plantsToWater READ plantsToWater NOTIFY changed)
    Q_PROPERTY(int daysUntilNextWatering READ daysUntilNextWatering NOTIFY changed)
    Q_PROPERTY(QDateTime today READ noonOfToday CONSTANT)

public:
    enum Role {
        KindRole = Qt::UserRole,
        PlaceRole,
        LightRole,
        RhythmRole, // days from one watering to the next
        MillilitresRole,
        LastWateredRole, // date and time: noon, so that no time zone makes it another day
        DueRole,         // days until the next watering, negative when it is late
        NeedsRole        // of its kind: light, water, humidity; 0 to 100
    };

    explicit Garden(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QDate today() const { return m_today; }
    const Plant &plant(int row) const { return m_plants[size_t(row)]; }
    int plantsToWater() const;
    // Days until the next watering of any plant that is not due yet; -1 without one.
    int daysUntilNextWatering() const;

    void add(const Plant &plant);
    void setLastWatered(int row, QDate date);

    // For QML.
    int count() const { return rowCount(); }
    QDateTime noonOfToday() const;
    Q_INVOKABLE int kindAt(int row) const { return int(plant(row).kind); }
    Q_INVOKABLE void addPlant(int kind, int place, int light, int rhythm, int millilitres);
    Q_INVOKABLE void water(int row, const QDateTime &when) { setLastWatered(row, when.date()); }
    Q_INVOKABLE void postpone(int row);
    Q_INVOKABLE void waterAllThatAreDue();

Q_SIGNALS:
    void changed();

private:
    QDate m_today;
    std::vector<Plant> m_plants;
};
