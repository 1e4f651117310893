// Lookups in one locale's store.
#include "DVLocaleStrings.h"

#include "DVCueMarkers.h"
#include "DVState.h"

DVStringGroupPtr DVLocaleStrings::dorvaneStringGroupForKey(const QString &key) const
{
    if (DVState::shared().editionEnabled()) {
        if (const DVStringGroupPtr dirty = m_dirtyStrings.value(key))
            return dirty;
    }
    return m_loadedStrings.group(key);
}

DVStringPtr DVLocaleStrings::dorvaneStringForKey(const QString &key, const QString &plural) const
{
    const DVStringGroupPtr group = dorvaneStringGroupForKey(key);
    return group ? dv_sharedForm(group, group->stringForPluralForm(plural, false)) : nullptr;
}

QString DVLocaleStrings::localizedStringForKey(const QString &key, const QString &plural) const
{
    if (DVState::shared().editionEnabled() && m_dirtyStrings.value(key)) {
        const DVStringPtr edited = dorvaneStringForKey(key, plural);
        return edited ? edited->localizedFormat : QString();
    }
    const auto hit = m_loadedStrings.find(QStringView(key));
    if (!hit)
        return {};
    if (plural.isNull())
        return hit.table->text(hit.entry);
    DVPluralCategory category;
    if (dv_pluralCategoryFromName(plural, &category))
        return hit.table->text(hit.entry, category);
    const DVStringPtr record = dorvaneStringForKey(key, plural); // a form under a name of its own
    return record ? record->localizedFormat : QString();
}

QString DVLocaleStrings::localizedStringForKey(const QString &key) const
{
    return localizedStringForKey(key, {});
}

// By text

DVStringPtr DVLocaleStrings::findLocalizedString(const QString &hash, const DVStringLayers &inDict)
{
    return inDict.stringForLocalizedHash(hash);
}

// Asked for each text of a window, so that nothing is copied for those that are not meant. One of two equal
// forms is found, and always the same.
DVStringPtr DVLocaleStrings::findLocalizedString(const QString &hash, const DVStringGroups &inDict)
{
    for (const DVStringGroupPtr &group : inDict) {
        if (!group)
            continue;
        const QString *first = nullptr;
        DVStringPtr found;
        for (auto form = group->pluralForms.cbegin(); form != group->pluralForms.cend(); ++form) {
            if (*form && (*form)->localizedHash == hash && (!first || form.key() < *first)) {
                first = &form.key();
                found = *form;
            }
        }
        if (found)
            return dv_sharedForm(group, found);
    }
    return nullptr;
}

DVStringPtr DVLocaleStrings::dorvaneStringForLocalizedString(const QString &hash) const
{
    if (const DVStringPtr dirty = findLocalizedString(hash, m_dirtyStrings))
        return dirty;
    const DVStringPtr loaded = findLocalizedString(hash, m_loadedStrings);
    if (!loaded || !DVState::shared().editionEnabled())
        return loaded;
    // A text that was shown before its string was edited: whoever edits it again goes on from the edit.
    const DVStringGroupPtr edited = m_dirtyStrings.value(loaded->key);
    const DVStringPtr form = edited ? edited->stringForPluralForm(loaded->pluralForm, true) : nullptr;
    return form ? dv_sharedForm(edited, form) : loaded;
}

// All at once

QHash<QString, QString> DVLocaleStrings::stringsDictionary() const
{
    QHash<QString, QString> strings;
    m_loadedStrings.forEachKey([&strings](const QString &key, DVStringLayers::Hit hit) {
        const QString text = hit.table->text(hit.entry);
        if (!text.isNull())
            strings.insert(key, text);
    });
    if (!DVState::shared().editionMode)
        return strings;
    for (auto dirty = m_dirtyStrings.keyBegin(); dirty != m_dirtyStrings.keyEnd(); ++dirty) {
        const QString text = localizedStringForKey(*dirty);
        if (!text.isNull())
            strings.insert(*dirty, text);
    }
    return strings;
}

// Texts of interface files

QHash<QString, QString> DVLocaleStrings::uiStrings() const
{
    QHash<QString, QString> keys;
    m_loadedStrings.forEachKey([&keys](const QString &key, DVStringLayers::Hit hit) {
        if (!key.contains(u'.') || !key.contains(u'-') || hit.table->hasPlurals(hit.entry))
            return;
        const QString text = hit.table->plainText(hit.entry).remove(u'\n');
        const auto found = keys.constFind(text);
        if (found == keys.constEnd() || key < *found)
            keys.insert(text, key);
    });
    return keys;
}

void DVLocaleStrings::extractUIStrings()
{
    if (!m_loadedStrings.isEmpty())
        m_nibStrings = uiStrings();
}

const QHash<QString, QString> &DVLocaleStrings::nibStrings() const
{
    if (!m_nibStrings)
        m_nibStrings = uiStrings();
    return *m_nibStrings;
}

QString DVLocaleStrings::keyForIBString(const QString &text) const
{
    return nibStrings().value(dv_stringByRemovingCues(text).remove(u'\n'));
}
