// DVUserDefaults: the library's saved settings.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

// A small JSON file, "defaults.json" in the folder of the library's files. It is read once, kept in
// memory, and written atomically by every change, so that a change survives a kill as soon as the
// call returns. A value of another type than asked for reads as absent. A damaged file reads as
// empty. Two processes: the last writer wins on the whole file. Thread-safe; a reader never waits for
// the disk, but for the first reading of the file. A write that fails is tried again by the next change; one
// of more than 16 MiB, which would read as empty, fails always.
//
// Integers and texts stand in the file as JSON's own, data as {"data": base64}, objects as {"object": {...}}.
class DVUserDefaults
{
public:
    static DVUserDefaults &standard();

    std::optional<qint64> integerForKey(const QString &key) const;
    std::optional<QString> stringForKey(const QString &key) const;
    std::optional<QByteArray> dataForKey(const QString &key) const;
    std::optional<QJsonObject> objectForKey(const QString &key) const;

    // Several changes are written by one write: between beginning and end the outermost Batch holds it
    // back, for the changes of all threads.
    void setInteger(const QString &key, qint64 value);
    void setString(const QString &key, const QString &value);
    void setData(const QString &key, const QByteArray &value);
    void setObject(const QString &key, const QJsonObject &value);
    void removeKey(const QString &key);

    // Forgets what is in memory, so that the file is read again (the folder changed; tests).
    void reload();

    class Batch
    {
    public:
        Batch();
        ~Batch();
        Q_DISABLE_COPY_MOVE(Batch)
    };

private:
    DVUserDefaults();
    ~DVUserDefaults();
    Q_DISABLE_COPY_MOVE(DVUserDefaults)
    struct Private;
    Private *const d;
};

// Whether the host's own settings (QSettings) hold "appetize-host". Asked once per start.
bool dv_hostSettingsContainAppetizeHost();
