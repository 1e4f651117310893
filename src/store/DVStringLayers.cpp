#include "DVStringLayers.h"

#include <QSet>

#include <algorithm>

DVStringLayers::DVStringLayers(std::vector<DVStringTablePtr> tables)
    : m_tables(std::move(tables))
{
    std::erase_if(m_tables, [](const DVStringTablePtr &table) { return !table || table->size() == 0; });
}

bool DVStringLayers::isEmpty() const
{
    for (const auto &table : m_tables) {
        if (table->size() > 0)
            return false;
    }
    return true;
}

bool DVStringLayers::hasPictureKeys() const
{
    return std::any_of(m_tables.begin(), m_tables.end(),
                       [](const DVStringTablePtr &table) { return table->hasPictureKeys(); });
}

void DVStringLayers::layOver(const DVStringTablePtr &table)
{
    if (table && table->size() > 0)
        m_tables.insert(m_tables.begin(), table);
}

void DVStringLayers::layOver(const DVStringLayers &upper)
{
    m_tables.insert(m_tables.begin(), upper.m_tables.begin(), upper.m_tables.end());
}

void DVStringLayers::forEachKey(const std::function<void(const QString &, Hit)> &visit) const
{
    QSet<QString> seen;
    for (const auto &table : m_tables) {
        for (DVStringTable::Entry entry = 0; entry < DVStringTable::Entry(table->size()); ++entry) {
            const QString key = table->key(entry);
            if (m_tables.size() > 1) {
                if (seen.contains(key))
                    continue;
                seen.insert(key);
            }
            visit(key, Hit{table.get(), entry});
        }
    }
}

qsizetype DVStringLayers::keyCount() const
{
    if (m_tables.size() == 1)
        return m_tables.front()->size();
    qsizetype count = 0;
    forEachKey([&count](const QString &, Hit) { ++count; });
    return count;
}

DVStringGroupPtr DVStringLayers::group(const QString &key) const
{
    const Hit hit = find(QStringView(key));
    return hit ? hit.table->group(hit.entry) : nullptr;
}

DVStringPtr DVStringLayers::stringForLocalizedHash(const QString &hash) const
{
    for (const auto &table : m_tables) {
        // A key that an upper table holds too is served from there, not from here.
        const auto servedFromHere = [&](const QString &key) {
            return find(QStringView(key)).table == table.get();
        };
        const bool isTop = table == m_tables.front();
        if (const DVStringPtr string =
                table->stringForLocalizedHash(hash, isTop ? DVStringTable::KeyFilter() : servedFromHere))
            return string;
    }
    return nullptr;
}

bool DVStringLayers::hasSameContent(const DVStringLayers &other) const
{
    if (m_tables.size() != other.m_tables.size())
        return isEmpty() && other.isEmpty();
    for (std::size_t i = 0; i < m_tables.size(); ++i) {
        if (m_tables[i] != other.m_tables[i] && !m_tables[i]->hasSameContent(*other.m_tables[i]))
            return false;
    }
    return true;
}
