#include "DVStringEditor.h"

#include "DVMainQueue.h"
#include "DVPluralForm.h"

#include <Dorvane/DVNotificationCenter.h>
#include <Dorvane/Dorvane.h>

#include <algorithm>

namespace {

QString noForm()
{
    return dv_pluralCategoryName(DVPluralCategory::None);
}

// Records of loaded strings stay as the platform gave them: an edit that is thrown away leaves no trace.
DVStringGroupPtr linkedCopy(const DVStringGroup &group)
{
    auto result = group.copy();
    for (const auto &form : std::as_const(result->pluralForms))
        form->group = result;
    return result;
}

void setMarkedText(DVString &string, const QString &text)
{
    string.fromBase = false;
    string.dynamic = false; // so that the arguments are those of this text, in its order
    string.argumentFormatSpecifiers.clear();
    string.extractFormatFromString(text);
}

} // namespace

DVStringEditor::DVStringEditor(std::shared_ptr<DVLocaleStrings> strings,
                               std::shared_ptr<DVBaseLocaleStrings> base)
    : m_strings(std::move(strings))
    , m_base(std::move(base))
{}

void DVStringEditor::setText(const QString &key, const QString &form, const QList<DVCapsuleRun> &runs)
{
    m_texts[key][form] = dv_markedUpText(runs);
}

int DVStringEditor::validateStrings() const
{
    if (!m_strings)
        return 0;
    int errors = 0;
    for (auto entry = m_texts.begin(); entry != m_texts.end(); ++entry) {
        const DVStringGroupPtr source = m_base ? m_base->dorvaneStringGroupForKey(entry.key()) : nullptr;
        for (auto text = entry->begin(); text != entry->end(); ++text) {
            const DVStringPtr form = source ? source->stringForPluralForm(text.key(), true) : nullptr;
            errors += form && form->argumentFormatSpecifiers.size() != text->capsules;
        }
    }
    return errors;
}

// The one that is edited already, or else a copy to be edited.
DVStringGroupPtr DVStringEditor::editedGroup(const QString &key) const
{
    if (const DVStringGroupPtr dirty = m_strings->dirtyStrings().value(key))
        return dirty;
    if (const DVStringGroupPtr loaded = m_strings->loadedStrings().group(key))
        return linkedCopy(*loaded);
    const DVStringGroupPtr base = m_base ? m_base->dorvaneStringGroupForKey(key) : nullptr;
    return base ? linkedCopy(*base) : nullptr;
}

// A form of its own where there is only one that stands in for it.
DVStringPtr DVStringEditor::addForm(const DVStringGroupPtr &group, const QString &form) const
{
    const bool plural = form != noForm();
    DVPluralCategory category;
    if (plural != group->hasPlurals || !dv_pluralCategoryFromName(form, &category))
        return nullptr;
    DVStringPtr model = m_base ? m_base->dorvaneStringForKey(group->key, form) : nullptr;
    if (!model)
        model = group->stringForPluralForm(form, false);
    if (!model)
        return nullptr;
    const DVStringPtr string = model->copy();
    string->pluralForm = plural ? form : QString();
    const QString stem = string->uid.left(string->uid.indexOf(u'['));
    if (plural && !string->uid.isNull())
        string->uid = QString(stem % u'[' % form % u']');
    group->addStringForm(string);
    return string;
}

DVStringPtr DVStringEditor::editedForm(const DVStringGroupPtr &group, const QString &form) const
{
    const DVStringPtr string = group ? group->stringForPluralForm(form, true) : nullptr;
    return string || !group ? string : addForm(group, form);
}

QStringList DVStringEditor::unknownStrings() const
{
    QStringList unknown;
    for (auto entry = m_texts.cbegin(); m_strings && entry != m_texts.cend(); ++entry) {
        const DVStringGroupPtr edited = editedGroup(entry.key());
        const DVStringGroupPtr group = edited ? linkedCopy(*edited) : nullptr; // nothing is added yet
        const QStringList forms = entry->keys();
        if (!std::all_of(forms.begin(), forms.end(),
                         [&](const QString &form) { return editedForm(group, form) != nullptr; }))
            unknown.append(entry.key());
    }
    return unknown;
}

QStringList DVStringEditor::saveStrings()
{
    if (!m_strings)
        return {};
    const QStringList unknown = unknownStrings();
    DVStringGroups edited = m_strings->dirtyStrings();
    for (auto entry = m_texts.cbegin(); entry != m_texts.cend(); ++entry) {
        const DVStringGroupPtr group = editedGroup(entry.key());
        for (auto text = entry->cbegin(); text != entry->cend(); ++text) {
            if (const DVStringPtr string = editedForm(group, text.key())) {
                setMarkedText(*string, text->text);
                edited.insert(entry.key(), group);
            }
        }
    }
    m_strings->setDirtyStrings(edited);
    m_strings->saveDirty();
    DVMainQueue::post([sender = m_strings] {
        DVNotificationCenter::defaultCenter().postNotification(DorvaneStringsUpdatedNotification,
                                                               sender.get());
    });
    return unknown;
}
