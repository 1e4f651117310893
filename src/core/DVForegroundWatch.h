// DVForegroundWatch: tells when the application returns to the foreground.
#pragma once

#include <QObject>

// Posts DVApplicationWillEnterForegroundNotification when the application becomes active after it
// was suspended or hidden; on desktops, where windows lose and gain the focus all day, also
// whenever it becomes active, at most once a minute. The activation that ends the launch is none.
// Without a QGuiApplication nothing is ever posted. The library links no QtGui: the signal is found by name.
class DVForegroundWatch : public QObject
{
    Q_OBJECT

public:
    DVForegroundWatch();

private Q_SLOTS:
    void applicationStateChanged(Qt::ApplicationState state);

private:
    bool isReturn(bool wasAway);

    bool m_launched = false; // was active once
    bool m_away = false;     // suspended or hidden since
    qint64 m_lastReturn = 0; // monotonic nanoseconds; 0: none yet
};
