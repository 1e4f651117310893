// Finding the strings of the views below a view, and telling views of new texts. Main thread.
#pragma once

#include "DVViewStrings.h"

// One for each label at or below the view, their strings not yet looked for.
QList<DVViewStringsPtr> dorvaneStringsInSubviews(const DVViewPtr &view);

struct DVFoundStrings
{
    QList<DVViewStringsPtr> strings; // those of labels in which a string was found
    DVViewPtr root;                  // the view at or below which they are; null when there are none
};
// Those of the nearest view above this one that has any.
DVFoundStrings dorvaneStringsInSuperviewsWithRoot(const DVViewPtr &view);

QList<DVViewPtr> dv_subviews(const DVViewPtr &view);
DVViewPtr dv_superview(const DVViewPtr &view);
bool dv_isLabel(const DVViewPtr &view);
QRectF dv_frame(const DVViewPtr &view);
QPointF dv_convertToWindowPoint(const DVViewPtr &view, const QPointF &point);
bool dv_isChildOfView(const DVViewPtr &view, const DVViewPtr &ancestor);

void dorvaneUpdateText(const DVViewPtr &view, const QString &text, const QString &withNewString);
void dorvaneUpdateAttributedText(const DVViewPtr &view, const QString &text, const QString &withNewString);
// To the first view at or below this one that takes updates for its inner views (DVViewWithText).
void dorvaneUpdateSubviewsText(const DVViewPtr &view, const QString &text, const QString &withNewString);
