// PlantsPage: the list of plants, and everything about the one that is chosen.
#pragma once

#include <QWidget>

class Garden;
class PlantPicture;
class QFormLayout;
class QLabel;
class QLineEdit;
class QListView;
class QProgressBar;
class QPushButton;
class QSortFilterProxyModel;

class PlantsPage : public QWidget
{
    Q_OBJECT

public:
    explicit PlantsPage(Garden &garden, QWidget *parent = nullptr);

    void setCareNotesVisible(bool visible);

protected:
    void changeEvent(QEvent *event) override;

private:
    QWidget *makeList();
    QWidget *makeDetail();
    QWidget *makePortrait();
    QWidget *makeNeeds();
    QWidget *makeHistory();
    QWidget *makeButtons();
    QProgressBar *addMeter(QFormLayout *form, QLabel *&label);
    int currentRow() const;
    void showPlant();
    void showCount();
    void retranslateUi();

    Garden &m_garden;
    QSortFilterProxyModel *m_found;
    QLineEdit *m_search;
    QListView *m_list;
    QLabel *m_count;
    QWidget *m_detail;
    PlantPicture *m_picture;
    QLabel *m_name;
    QLabel *m_place;
    QLabel *m_light;
    QLabel *m_care;
    QLabel *m_needsTitle;
    QLabel *m_lightLabel;
    QLabel *m_waterLabel;
    QLabel *m_humidityLabel;
    QProgressBar *m_lightMeter;
    QProgressBar *m_waterMeter;
    QProgressBar *m_humidityMeter;
    QLabel *m_wateringTitle;
    QLabel *m_rhythm;
    QLabel *m_last;
    QLabel *m_next;
    QPushButton *m_water;
    QPushButton *m_postpone;
};
