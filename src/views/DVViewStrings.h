// DVViewStrings: the strings that made the text of one view, and the text rebuilt from them.
#pragma once

#include "DVCueMarkers.h"
#include "DVString.h"
#include "DVView.h"

#include <QList>
#include <QPointer>
#include <QString>

#include <memory>
#include <variant>

class DVViewStrings;
using DVViewStringsPtr = std::shared_ptr<DVViewStrings>;

// What filled an argument of a string: a text of the host's, or another string.
using DVStringValue = std::variant<QString, DVStringPtr>;

// Main thread.
class DVViewStrings
{
public:
    DVViewPtr view;                   // null for a title
    QPointer<QObject> viewController; // the page or window whose title it is, or that the view stands in
    bool isTitle = false;             // the text is the title of the viewController
    bool isTabTitle = false;          // the text is the tab's title of the viewController
    QString originalString;           // the plain text shown, as found, with markers
    QString originalAttributedString; // HTML; null unless the view shows a rich text

    // As dorvaneStringsInString() found them.
    const QList<DVStringPtr> &dorvaneStrings() const { return m_strings; } // distinct, in order of finding
    // Of each of dorvaneStrings(), at its first place in the text.
    const QList<QList<DVStringValue>> &valuesForDorvaneStrings() const { return m_values; }
    // The outermost pieces from left to right, with the group and the plural form of the string that matched.
    const QList<DVEditionItem> &orderedFirstLevelStrings() const { return m_firstLevel; }

    // Looks for the strings that made the text. Linear in the text but for the lookups.
    const QList<DVStringPtr> &dorvaneStringsInString();

    // The text with the current translations, markers and values kept. The rich one is HTML.
    QString newLocalizedString() const;
    QString newLocalizedAttributedString() const;
    // One string's current text with its values, those of its first place in the text.
    QString newLocalizedStringForDorvaneString(const DVStringPtr &string) const;

    // Shows the rebuilt text.
    void updateView();

    QString description() const;

private:
    QList<DVStringPtr> m_strings;
    QList<QList<DVStringValue>> m_values;
    QList<DVEditionItem> m_firstLevel;
    QList<QList<DVStringValue>> m_valuesOfPieces; // parallel to m_firstLevel
};
