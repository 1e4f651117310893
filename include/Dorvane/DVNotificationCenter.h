// DVNotificationCenter: named notifications with a sender and user information.
#pragma once

#include <Dorvane/DorvaneGlobal.h>

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>

struct DVNotification
{
    QString name;
    const void *sender = nullptr; // identity only; never dereferenced by the centre
    QVariantMap userInfo;
};

// Observers are called on the thread that posts, before `postNotification` returns, in the order in
// which they were added. Thread-safe. An observer may add and remove observers, itself included.
class DORVANE_EXPORT DVNotificationCenter
{
public:
    using Observer = std::function<void(const DVNotification &)>;

    static DVNotificationCenter &defaultCenter();

    // Calls `observer` for each notification with this name (an empty name: every one), from this
    // sender (null: any). `context` guards the call: after its destruction the observer is not
    // called again; null guards nothing. A context must not be destroyed on one thread while another
    // posts what it observes. Returns a token for removeObserver.
    int addObserver(QObject *context, const QString &name, const void *sender, Observer observer);
    void removeObserver(int token);

    void postNotification(const QString &name, const void *sender = nullptr,
                          const QVariantMap &userInfo = {});

    DVNotificationCenter();
    ~DVNotificationCenter();
    Q_DISABLE_COPY_MOVE(DVNotificationCenter)

private:
    struct Private;
    Private *const d;
};
