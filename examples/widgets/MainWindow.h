// MainWindow: menus, the three screens as tabs, and a status line.
#pragma once

#include "Garden.h"
#include "PreferencesDialog.h"

#include <QMainWindow>

class NewPlantPage;
class PlantsPage;
class QAction;
class QLabel;
class QMenu;
class QTabWidget;
class TodayPage;

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();

protected:
    void changeEvent(QEvent *event) override;

private:
    void makeTabs();
    void makeMenus();
    QAction *addScreenAction(QWidget *page);
    void showPreferences();
    void showAbout();
    void showStatus();
    void retranslateUi();

    Garden m_garden;
    Preferences m_preferences;
    QTabWidget *m_tabs;
    TodayPage *m_today;
    PlantsPage *m_plants;
    NewPlantPage *m_newPlant;
    QMenu *m_gardenMenu;
    QMenu *m_viewMenu;
    QMenu *m_helpMenu;
    QAction *m_waterAll;
    QAction *m_openPreferences;
    QAction *m_quit;
    QAction *m_showToday;
    QAction *m_showPlants;
    QAction *m_showNewPlant;
    QAction *m_about;
    QLabel *m_status;
    QLabel *m_reminder;
};
