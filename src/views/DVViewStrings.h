// DVViewStrings: the strings that made the text of one view, and the text rebuilt from them.
#pragma once

#include "DVFoundText.h"
#include "DVView.h"

#include <QList>
#include <QPointer>
#include <QString>

#include <memory>

class DVViewStrings;
using DVViewStringsPtr = std::shared_ptr<DVViewStrings>;

// Main thread.
//
// Values belong to arguments: a placeholder with a number takes the value that filled the same one in the
// text that was found, however often and in whatever order the new text has them; the others take the values
// of the others, one after the other. A string without values keeps its placeholders as they are.
//
// A rich text is searched and rebuilt at its HTML source, which stays the host's. A piece whose string has
// tags or entities itself, as in tr("<b>Now</b>"), takes the new text as HTML. Any other takes it as text,
// escaped, in the format of its first character; what fills its arguments keeps its own format, unless the
// piece is spread over elements that it does not close. So no translation adds markup where the view showed a
// text.
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
    // Of each of dorvaneStrings(), where it was found first: values of its arguments, as plain text. One that
    // is a string is that string; one that only has strings in it is a text.
    const QList<QList<DVStringValue>> &valuesForDorvaneStrings() const { return m_values; }
    // The outermost pieces from left to right, with the group and the plural form of the string that matched.
    // Those of a rich text are pieces of its HTML.
    const QList<DVEditionItem> &orderedFirstLevelStrings() const { return m_firstLevel; }

    // Looks for the strings that made the text, from right to left. Linear in the text but for the lookups.
    const QList<DVStringPtr> &dorvaneStringsInString();

    // The text with the current translations, markers and values kept. The rich one is HTML. What has no
    // string, or no text any more, stays as it is.
    QString newLocalizedString() const;
    QString newLocalizedAttributedString() const;
    // The text of a string with the values of the one of its key in dorvaneStrings(). Strings among them have
    // their current translations.
    QString newLocalizedStringForDorvaneString(const DVStringPtr &string) const;

    // Shows the rebuilt text.
    void updateView();

    QString description() const;

private:
    bool isRich() const { return !originalAttributedString.isNull(); }
    void updateViewAndAround(const QString &newText);
    void updateTitles(const QString &newText);

    QList<DVStringPtr> m_strings;
    QList<QList<DVStringValue>> m_values;
    QList<DVEditionItem> m_firstLevel;
    DVFoundText m_found;
    QList<qsizetype> m_pieces; // of each of m_strings the piece where it was found first
};
