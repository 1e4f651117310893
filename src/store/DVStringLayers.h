// DVStringLayers: string tables that lie over each other, the highest first.
#pragma once

#include "DVStringTable.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <vector>

// A value. Lookups ask the tables in order and stop at the first that holds the key.
class DVStringLayers
{
public:
    struct Hit
    {
        const DVStringTable *table = nullptr; // null: no table holds the key
        DVStringTable::Entry entry = DVStringTable::notFound;
        explicit operator bool() const { return table; }
    };

    DVStringLayers() = default;
    // Tables that are null or hold nothing are left out.
    explicit DVStringLayers(std::vector<DVStringTablePtr> tables);

    bool isEmpty() const;        // no table holds a string
    bool hasPictureKeys() const; // of some table
    // Puts tables on top of those that are here.
    void layOver(const DVStringTablePtr &table);
    void layOver(const DVStringLayers &upper);
    const std::vector<DVStringTablePtr> &tables() const { return m_tables; }

    template<typename Key> Hit find(const Key &key) const
    {
        for (const auto &table : m_tables) {
            if (const auto entry = table->find(key); entry != DVStringTable::notFound)
                return {table.get(), entry};
        }
        return {};
    }

    // Every key once, upper layers first.
    void forEachKey(const std::function<void(const QString &key, Hit hit)> &visit) const;
    qsizetype keyCount() const;

    // Main thread only, as the records are.
    DVStringGroupPtr group(const QString &key) const;
    DVStringPtr stringForLocalizedHash(const QString &hash) const;

    bool hasSameContent(const DVStringLayers &other) const;

private:
    std::vector<DVStringTablePtr> m_tables;
};
