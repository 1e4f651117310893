// The texts of models that item views show.
#pragma once

#include "DVMarkedTexts.h"

#include <QList>
#include <QModelIndex>
#include <QString>

class QAbstractItemView;
class QComboBox;
class QHeaderView;

// Whether the texts of a model are what an application has put into it. Those of any other are what the
// application's own code says when it is asked again.
bool dv_holdsItsTexts(const QAbstractItemModel *model);

// Where the marked text of a combo box's entry is remembered. It goes with the entry, but while nobody
// follows the box: then it stands under an index that the entry had before.
DVMarkedTexts::Place dv_entryPlace(const QComboBox &box, int index);
// Only where the entries are what the application has put in.
void dv_replaceEntryText(QComboBox *box, int index, const QString &text, const QString &newText);

// What an item view shows now, in reading order; no cell that a widget covers. Bounded by what can be seen,
// in a view of a kind that nobody knows by the number of cells that are looked at.
QModelIndexList dv_shownCells(const QAbstractItemView &view);

// The logical indexes of the sections that can be seen, from left to right or, in such a layout, from right
// to left.
QList<int> dv_shownSections(const QHeaderView &header);
