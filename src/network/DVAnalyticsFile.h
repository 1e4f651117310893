// DVAnalyticsFile: the events that are not sent yet, on disk and in memory.
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QLockFile;

// What the file holds: the JSON object {"dropped", "events", "lastSent"}.
struct DVAnalyticsRecord
{
    QByteArrayList events;          // compact JSON objects, oldest first
    qint64 dropped = 0;             // lost to the caps and not yet reported
    std::optional<double> lastSent; // seconds since 1970

    // Anything but such an object reads as empty; elements of "events" that are no objects are left out.
    static DVAnalyticsRecord fromJson(const QByteArray &json);
    QByteArray toJson() const;

    // The events as one JSON array.
    QByteArray eventsJson() const;

    // Drops the oldest events beyond either cap and counts them, with the count that a dropped
    // event carried.
    void cap(int maximumEvents, qint64 maximumBytes);
};

// The file, shared by every process on its folder, and what this process has changed since it
// last wrote it. A change that cannot be written stays in memory and goes with the next save. Not
// thread-safe; the caller serialises. Between begin() and end() no other process changes the file.
class DVAnalyticsFile
{
public:
    static constexpr qint64 maximumFileSize = qint64(8) << 20;

    DVAnalyticsFile(int maximumEvents, qint64 maximumBytes);
    ~DVAnalyticsFile();
    Q_DISABLE_COPY_MOVE(DVAnalyticsFile)

    // Takes the lock and reads what another process wrote. `mayWait` is asked while that process
    // has the lock, with the milliseconds waited so far. False: it kept it. Where no lock can be
    // had at all (no folder, a full or read-only disk), everything goes on in memory.
    bool begin(const QString &path, const std::function<bool(qint64 waited)> &mayWait);
    // Writes when something changed, and gives the lock back. False: it stays in memory.
    bool end();

    // The file's record with this process's changes.
    const DVAnalyticsRecord &record() const { return m_record; }
    bool hasUnsavedChanges() const;
    // What the memory holds, as a new process would.
    void forget();

    void append(const QByteArray &event);
    void addDropped(qint64 count);
    // Gives the number of dropped events to the caller, who reports it.
    qint64 takeDropped();
    void setLastSent(double secondsSince1970);
    // Each of `events` once, wherever it stands by now.
    void remove(const QByteArrayList &events);

private:
    struct Changes
    {
        QByteArrayList added;
        QByteArrayList removed; // of those in the file
        qint64 dropped = 0;     // negative: reported
        std::optional<double> lastSent;
        bool operator==(const Changes &) const = default;
    };
    // False: another process kept it. True without m_lock: there is none to be had.
    bool takeLock(const std::function<bool(qint64 waited)> &mayWait);
    void read();
    void apply();
    bool write();

    const int m_maximumEvents;
    const qint64 m_maximumBytes;
    QString m_path;
    std::unique_ptr<QLockFile> m_lock;
    QByteArray m_fileBytes; // as last read or written
    DVAnalyticsRecord m_file;
    Changes m_changes;
    DVAnalyticsRecord m_record;
};
