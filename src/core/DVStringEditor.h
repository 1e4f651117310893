// DVStringEditor: texts typed for strings of a locale, checked, and then kept as edited strings.
#pragma once

#include "DVBaseLocaleStrings.h"
#include "DVCapsules.h"
#include "DVLocaleStrings.h"

#include <QMap>
#include <QStringList>

#include <memory>

// What one editor holds while it is open. Main thread only.
class DVStringEditor
{
public:
    // Either may be null: without the locale's strings nothing is checked or saved.
    DVStringEditor(std::shared_ptr<DVLocaleStrings> strings, std::shared_ptr<DVBaseLocaleStrings> base);

    // What was typed so far for a form; "none" is that of a string without plural forms.
    void setText(const QString &key, const QString &form, const QList<DVCapsuleRun> &runs);

    // Of how many texts the number of capsules is not that of the arguments in the base locale's form.
    int validateStrings() const;

    // Makes them edited strings, also on the device; the notification of updated strings follows from the
    // event loop. A string that the locale does not have yet begins as a copy of the base locale's. Returns
    // the keys of strings, or of forms, that neither has: nothing is saved of those.
    QStringList saveStrings();

private:
    DVStringGroupPtr editedGroup(const QString &key) const;
    DVStringPtr addForm(const DVStringGroupPtr &group, const QString &form) const;

    const std::shared_ptr<DVLocaleStrings> m_strings;
    const std::shared_ptr<DVBaseLocaleStrings> m_base;
    QMap<QString, QMap<QString, DVMarkedUpText>> m_texts; // by key, then by form
};
