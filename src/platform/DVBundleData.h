// DVBundleData: what copies of a DVBundle share, the folder and what was read from it.
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <atomic>
#include <memory>
#include <mutex>

// Thread-safe. Everything is read on first use and then kept.
struct DVBundleData
{
    explicit DVBundleData(const QString &path);
    ~DVBundleData();
    Q_DISABLE_COPY_MOVE(DVBundleData)

    bool exists() const { return m_exists; }
    QString path() const { return m_path; }
    QVariantMap info();
    QStringList localizations();
    QString pathForResource(const QString &name, const QString &type, const QString &localization) const;

    // Null when no packaged table of this name has the key. Takes no lock once the table was read.
    QString packagedText(const QString &key, const QString &table);

private:
    struct Table
    {
        QString name;
        QHash<QString, QString> texts;
        std::unique_ptr<const Table> next; // read before this one
    };
    const Table *findTable(const QString &name) const;
    const Table *readTable(const QString &name);
    const Table *keepTable(const QString &name, QHash<QString, QString> texts);
    QStringList searchedLocalizations();

    const QString m_path; // absolute; empty for no bundle
    const bool m_exists;
    std::mutex m_mutex;
    bool m_infoRead = false;
    QVariantMap m_info;
    std::unique_ptr<const Table> m_tables;
    int m_tableCount = 0;
    std::atomic<const Table *> m_firstTable = nullptr; // m_tables, for readers without the lock
};
