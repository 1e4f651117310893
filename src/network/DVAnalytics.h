// DVAnalytics: records usage events and sends them in batches.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QVariantMap>

#include <memory>
#include <optional>

// Events are assembled, saved and sent on a serial queue of its own; tracking costs the caller one
// insertion. Events survive a restart and a kill as soon as the queue has saved them. At most one
// request in 300 seconds. Two processes on one folder merge under a lock file. The queue holds at
// most `maximumEvents` and `maximumBytes` of JSON; the oldest go first, and how many went is the
// property "DroppedEvents" of the next "Launch". With DVState::analyticsEnabled off nothing is
// recorded or sent. Thread-safe.
class DVAnalytics
{
public:
    static constexpr int maximumEvents = 1000;
    static constexpr qint64 maximumBytes = 1 << 20;

    static DVAnalytics &sharedInstance();

    static void trackEvent(const QString &name, const QVariantMap &withParams = {});
    static void startEventTimer(const QString &name);
    // Tracks the event with "duration" (seconds) when a start is recorded; the start is kept.
    static void stopEventTimer(const QString &name, const QVariantMap &withParams = {});

    // The file "analytics" in the folder of the library's files.
    QString saveFilePath() const;

    // The events that wait and the moment of the last request, as far as this process has looked at the file;
    // nothing while it is being read or written. Never waits.
    struct Status
    {
        qsizetype waiting = 0;
        std::optional<double> lastSent; // seconds since 1970
    };
    std::optional<Status> status() const;

    // Forgets what is in memory, as a new process would; for tests.
    void forgetLoaded();
    // Waits until everything tracked so far is saved; for tests.
    void drain();
    // Saves what is queued within `milliseconds`; at the application's end.
    void finish(int milliseconds);

private:
    DVAnalytics();
    ~DVAnalytics();
    Q_DISABLE_COPY_MOVE(DVAnalytics)
    struct Private;
    std::unique_ptr<Private> d;
};
