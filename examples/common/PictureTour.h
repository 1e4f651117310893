// PictureTour: walks through the screens by itself and takes their pictures.
#pragma once

#include <QDir>
#include <QImage>
#include <QObject>
#include <QString>
#include <QStringList>

class QTimer;

// What a tour needs of an application, whatever its windows are made of.
class TouredApplication
{
public:
    virtual ~TouredApplication() = default;

    // 0: today, 1: the plants, 2: a new plant.
    virtual void showScreen(int screen) = 0;
    virtual void openPreferences() = 0;
    virtual void closePreferences() = 0;
    virtual void setWindowVisible(bool visible) = 0;
    virtual bool isWindowVisible() const = 0;
    virtual QImage pictureOfWindow() = 0;
    virtual QImage pictureOfPreferences() = 0;
    // Every text on the screen now, to see whether something changed.
    virtual QStringList shownTexts() const = 0;

protected:
    TouredApplication() = default;
    Q_DISABLE_COPY_MOVE(TouredApplication)
};

// "--pictures FOLDER [--await-publication]" of the command line.
struct PictureOrder
{
    QString folder; // null: no pictures are wanted
    bool awaitPublication = false;

    // To be asked before anything else is begun: it ends the process for "--help" and for what nobody knows.
    static PictureOrder fromCommandLine();
};

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
    PictureTour(TouredApplication &application, const PictureOrder &order);

    // Begins if pictures are wanted.
    void start();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void visitScreen(int screen);
    void visitPreferences();
    void leaveOrEnd();
    void switchAwayAndBack();
    void showUpdate();
    bool save(const QImage &picture, const QString &name);
    void end(int status);

    TouredApplication &m_application;
    const PictureOrder m_order;
    QDir m_folder;
    bool m_ended = false;
    QStringList m_textsBefore;
    QTimer *m_switching;
    QTimer *m_patience;
};
