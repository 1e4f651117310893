#include "MainWindow.h"

#include "Look.h"
#include "NewPlantPage.h"
#include "PlantsPage.h"
#include "TodayPage.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QLocale>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>
#include <QTabWidget>

MainWindow::MainWindow()
{
    makeTabs();
    makeMenus();
    m_status = new QLabel(this);
    m_reminder = new QLabel(this);
    statusBar()->setSizeGripEnabled(false);
    statusBar()->addWidget(m_status, 1);
    statusBar()->addPermanentWidget(m_reminder);
    connect(&m_garden, &Garden::dataChanged, this, &MainWindow::showStatus);
    connect(&m_garden, &Garden::rowsInserted, this, &MainWindow::showStatus);
    connect(m_newPlant, &NewPlantPage::plantAdded, this, [this](const QString &name) {
        statusBar()->showMessage(tr("%1 has moved in.").arg(name), 5000);
    });
    retranslateUi();
    resize(sizeHint().expandedTo({980, 690}));
}

void MainWindow::makeTabs()
{
    m_tabs = new QTabWidget(this);
    m_tabs->setDocumentMode(true);
    m_today = new TodayPage(m_garden, m_tabs);
    m_plants = new PlantsPage(m_garden, m_tabs);
    m_newPlant = new NewPlantPage(m_garden, m_tabs);
    for (QWidget *page : std::initializer_list<QWidget *>{m_today, m_plants, m_newPlant})
        m_tabs->addTab(page, QString());
    setCentralWidget(m_tabs);
}

void MainWindow::makeMenus()
{
    m_gardenMenu = menuBar()->addMenu(QString());
    m_waterAll = m_gardenMenu->addAction(QString(), &m_garden, &Garden::waterAllThatAreDue);
    m_gardenMenu->addSeparator();
    m_openPreferences = m_gardenMenu->addAction(QString(), this, &MainWindow::showPreferences);
    m_openPreferences->setShortcut(QKeySequence::Preferences);
    m_openPreferences->setMenuRole(QAction::PreferencesRole);
    m_openPreferences->setObjectName(QStringLiteral("openPreferences"));
    m_gardenMenu->addSeparator();
    m_quit = m_gardenMenu->addAction(QString(), qApp, &QApplication::quit);
    m_quit->setShortcut(QKeySequence::Quit);
    m_quit->setMenuRole(QAction::QuitRole);

    m_viewMenu = menuBar()->addMenu(QString());
    m_showToday = addScreenAction(m_today);
    m_showPlants = addScreenAction(m_plants);
    m_showNewPlant = addScreenAction(m_newPlant);
    m_showNewPlant->setShortcut(QKeySequence::New);

    m_helpMenu = menuBar()->addMenu(QString());
    m_about = m_helpMenu->addAction(QString(), this, &MainWindow::showAbout);
    m_about->setMenuRole(QAction::AboutRole);
}

QAction *MainWindow::addScreenAction(QWidget *page)
{
    return m_viewMenu->addAction(QString(), this, [this, page] { m_tabs->setCurrentWidget(page); });
}

void MainWindow::showPreferences()
{
    auto *dialog = new PreferencesDialog(m_preferences, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        m_preferences = dialog->preferences();
        m_plants->setCareNotesVisible(m_preferences.careNotes);
        showStatus();
    });
    dialog->open();
}

void MainWindow::showAbout()
{
    auto *box = new QMessageBox(QMessageBox::NoIcon, tr("About Window Garden"),
                                tr("Window Garden %1 looks after the plants on your windowsill.")
                                    .arg(QApplication::applicationVersion()),
                                QMessageBox::NoButton, this);
    box->addButton(tr("Close"), QMessageBox::AcceptRole);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void MainWindow::showStatus()
{
    const int days = m_garden.daysUntilNextWatering();
    m_status->setText(days < 0 ? tr("Nothing is planned yet")
                               : tr("After today, the next watering is in %Ln day(s)", nullptr, days));
    const QString time = QLocale().toString(m_preferences.reminder, QLocale::ShortFormat);
    m_reminder->setText(m_preferences.remind ? tr("Reminder at %1").arg(time) : tr("Reminders are off"));
}

void MainWindow::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslateUi();
    QMainWindow::changeEvent(event);
}

void MainWindow::retranslateUi()
{
    setWindowTitle(tr("Window Garden"));
    m_tabs->setTabText(m_tabs->indexOf(m_today), tr("Today"));
    m_tabs->setTabText(m_tabs->indexOf(m_plants), tr("My plants"));
    m_tabs->setTabText(m_tabs->indexOf(m_newPlant), tr("New plant"));
    m_gardenMenu->setTitle(tr("&Garden"));
    m_waterAll->setText(tr("&Water everything that is due"));
    m_openPreferences->setText(tr("&Preferences…"));
    m_quit->setText(tr("&Quit"));
    m_viewMenu->setTitle(tr("&View"));
    m_showToday->setText(tr("&Today"));
    m_showPlants->setText(tr("&My plants"));
    m_showNewPlant->setText(tr("&New plant"));
    m_helpMenu->setTitle(tr("&Help"));
    m_about->setText(tr("&About Window Garden"));
    showStatus();
}
