// Finding the strings of the views below a view, and telling views of new texts. Main thread.
#pragma once

#include "DVViewStrings.h"

// One for each label at or below the view, their strings not yet looked for.
QList<DVViewStringsPtr> dorvaneStringsInSubviews(const DVViewPtr &view);

struct DVFoundStrings
{
    QList<DVViewStringsPtr> strings; // one for each label, also where no string made its text
    DVViewPtr root;                  // the view at or below which they are; null when there are none
};
// What dorvaneStringsInSubviews() gives for the nearest view above this one at or below which there is a
// label.
DVFoundStrings dorvaneStringsInSuperviewsWithRoot(const DVViewPtr &view);

QList<DVViewPtr> dv_subviews(const DVViewPtr &view);
DVViewPtr dv_superview(const DVViewPtr &view);
// Whether it shows a text.
bool dv_isLabel(const DVViewPtr &view);
// In points of its superview; of a view without one, and of the window itself, in points of the window.
QRectF dv_frame(const DVViewPtr &view);
// A point of the view in points of its window.
QPointF dv_convertToWindowPoint(const DVViewPtr &view, const QPointF &point);
// Not of itself.
bool dv_isChildOfView(const DVViewPtr &view, const DVViewPtr &ancestor);
// For messages: the kind of its object and the name that the application gave it, no text.
QString dv_viewDescription(const DVViewPtr &view);

// Texts with markers. The second are HTML.
void dorvaneUpdateText(const DVViewPtr &view, const QString &text, const QString &withNewString);
void dorvaneUpdateAttributedText(const DVViewPtr &view, const QString &text, const QString &withNewString);
// To each first view at or below this one that takes updates for its inner views (DVViewWithText).
void dorvaneUpdateSubviewsText(const DVViewPtr &view, const QString &text, const QString &withNewString);
