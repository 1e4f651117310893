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

    // The keys of strings, or of forms, that neither locale has: saveStrings() would save nothing of those.
    // To be asked before DVReviewDecisions::touch(): what cannot be saved must not cost a decision. (A
    // decision made after the text was typed is one about that text, and saving does not touch it.)
    QStringList unknownStrings() const;

    // Makes them edited strings, also on the device; the notification of updated strings follows from the
    // event loop. A string that the locale does not have yet begins as a copy of the base locale's. Returns
    // unknownStrings().
    QStringList saveStrings();

private:
    DVStringGroupPtr editedGroup(const QString &key) const;
    DVStringPtr editedForm(const DVStringGroupPtr &group, const QString &form) const;
    DVStringPtr addForm(const DVStringGroupPtr &group, const QString &form) const;

    const std::shared_ptr<DVLocaleStrings> m_strings;
    const std::shared_ptr<DVBaseLocaleStrings> m_base;
    QMap<QString, QMap<QString, DVMarkedUpText>> m_texts; // by key, then by form
};
