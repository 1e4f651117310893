// NewPlantPage: the form that adds a plant.
#pragma once

#include "Plant.h"

#include <QWidget>

class Garden;
class PlantPicture;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QSlider;

class NewPlantPage : public QWidget
{
    Q_OBJECT

public:
    explicit NewPlantPage(Garden &garden, QWidget *parent = nullptr);

Q_SIGNALS:
    void plantAdded(const QString &name);

protected:
    void changeEvent(QEvent *event) override;

private:
    QWidget *makeAbout();
    QWidget *makeWatering();
    QWidget *makeLight();
    QWidget *makeCare();
    QWidget *makePreview();
    Plant plant() const;
    void startOver();
    void addPlant();
    void showPlant();
    void retranslateUi();

    Garden &m_garden;
    QGroupBox *m_about;
    QLabel *m_kindLabel;
    QLabel *m_placeLabel;
    QComboBox *m_kind;
    QComboBox *m_place;
    QGroupBox *m_watering;
    QLabel *m_daysText;
    QLabel *m_amountText;
    QSlider *m_days;
    QSlider *m_amount;
    QGroupBox *m_lightBox;
    QButtonGroup *m_light;
    QGroupBox *m_care;
    QCheckBox *m_lessInWinter;
    QCheckBox *m_feed;
    PlantPicture *m_picture;
    QLabel *m_name;
    QLabel *m_summary;
    QPushButton *m_add;
    QPushButton *m_startOver;
};
