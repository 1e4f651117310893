// PictureTour: walks through the screens by itself and takes their pictures.
#pragma once

#include <QDir>
#include <QObject>

class MainWindow;
class QTabWidget;
class QTimer;
class QWidget;

// For the demonstration on a machine without a display. It works from outside, as a user would: the
// screens know nothing of it. Writes today.png, plants.png, new-plant.png and preferences.png to the
// folder. With `awaitPublication` it then says "waiting for a new publication" on standard output,
// sends the application to the background and back until the shown texts change, and writes
// today-updated.png. Ends the application: with 0, or with 1 and a message on standard error when
// a picture cannot be written or nothing changes in time.
class PictureTour : public QObject
{
    Q_OBJECT

public:
    PictureTour(MainWindow &window, const QString &folder, bool awaitPublication);

    void start();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void visitScreen(int tab);
    void visitPreferences();
    void leaveOrEnd();
    void switchAwayAndBack();
    void showUpdate();
    bool take(QWidget *widget, const QString &name);
    void end(int status);

    MainWindow &m_window;
    QTabWidget *m_tabs;
    QDir m_folder;
    bool m_awaitPublication;
    bool m_ended = false;
    QString m_textsBefore;
    QTimer *m_switching;
    QTimer *m_patience;
};
