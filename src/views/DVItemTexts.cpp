#include "DVItemTexts.h"

#include "DVPropertyText.h"

#include <QAbstractProxyModel>
#include <QColumnView>
#include <QComboBox>
#include <QHeaderView>
#include <QListView>
#include <QStandardItemModel>
#include <QStringListModel>
#include <QTableView>
#include <QTreeView>

namespace {

constexpr int cellsLookedAt = 5000;

bool isShown(const QAbstractItemView &view, const QModelIndex &cell)
{
    return cell.isValid() && view.visualRect(cell).intersects(view.viewport()->rect()) &&
           !view.indexWidget(cell);
}

// The sections of a header within an extent: a hidden header has none of its own, but its view has columns.
QList<int> sectionsWithin(const QHeaderView &header, int extent)
{
    const bool isReversed = header.orientation() == Qt::Horizontal && header.isRightToLeft();
    int first = header.visualIndexAt(isReversed ? extent - 1 : 0);
    int last = header.visualIndexAt(isReversed ? 0 : extent - 1);
    if (first < 0)
        return {};
    if (last < 0)
        last = header.count() - 1;
    QList<int> sections;
    for (; first <= last; ++first) {
        const int logical = header.logicalIndex(first);
        if (!header.isSectionHidden(logical) && header.sectionSize(logical) > 0)
            sections << logical;
    }
    return sections;
}

// Cells that a span covers have its rectangle too.
bool isCovered(const QTableView &table, const QModelIndex &cell)
{
    if (table.rowSpan(cell.row(), cell.column()) == 1 && table.columnSpan(cell.row(), cell.column()) == 1)
        return false;
    return table.indexAt(table.visualRect(cell).intersected(table.viewport()->rect()).center()) != cell;
}

QModelIndexList tableCells(const QTableView &table)
{
    QModelIndexList cells;
    const QSize size = table.viewport()->size();
    const QList<int> columns = sectionsWithin(*table.horizontalHeader(), size.width());
    for (int row : sectionsWithin(*table.verticalHeader(), size.height())) {
        for (int column : columns) {
            const QModelIndex cell = table.model()->index(row, column, table.rootIndex());
            if (isShown(table, cell) && !isCovered(table, cell))
                cells << cell;
        }
    }
    return cells;
}

QModelIndexList treeCells(const QTreeView &tree)
{
    const QList<int> columns = sectionsWithin(*tree.header(), tree.viewport()->width());
    if (columns.isEmpty())
        return {};
    const int x = tree.columnViewportPosition(columns.first()) + tree.columnWidth(columns.first()) / 2;
    const int inside = qBound(0, x, tree.viewport()->width() - 1);
    QModelIndexList cells;
    for (QModelIndex row = tree.indexAt({inside, 0}); row.isValid(); row = tree.indexBelow(row)) {
        if (tree.visualRect(row.siblingAtColumn(columns.first())).top() >= tree.viewport()->height())
            break;
        for (int column : tree.isFirstColumnSpanned(row.row(), row.parent()) ? QList<int>{0} : columns) {
            if (const QModelIndex cell = row.siblingAtColumn(column); isShown(tree, cell))
                cells << cell;
        }
    }
    return cells;
}

// Where items stand one after the other, the first that can be seen; nothing can be told of others.
int firstShownRow(const QListView &list)
{
    if (list.viewMode() != QListView::ListMode || list.isWrapping())
        return 0;
    const bool isDown = list.flow() == QListView::TopToBottom;
    const QSize size = list.viewport()->size();
    const int edge = !isDown && list.isRightToLeft() ? size.width() - 1 : 0;
    const int extent = qMin(isDown ? size.height() : size.width(), 64 + list.spacing());
    for (int i = 0; i < extent; ++i) {
        const QPoint point = isDown ? QPoint(size.width() / 2, i) : QPoint(qAbs(edge - i), size.height() / 2);
        if (const QModelIndex first = list.indexAt(point); first.isValid())
            return first.row();
    }
    return 0;
}

QModelIndexList listCells(const QListView &list)
{
    QModelIndexList cells;
    const bool isInOrder = list.viewMode() == QListView::ListMode && !list.isWrapping();
    const int first = firstShownRow(list);
    const int end = qMin(list.model()->rowCount(list.rootIndex()), first + cellsLookedAt);
    for (int row = first; row < end; ++row) {
        const QModelIndex cell = list.model()->index(row, list.modelColumn(), list.rootIndex());
        if (isShown(list, cell))
            cells << cell;
        else if (isInOrder && !cells.isEmpty() && !list.isRowHidden(row) && !list.indexWidget(cell))
            break;
    }
    return cells;
}

QModelIndexList anyCells(const QAbstractItemView &view)
{
    QModelIndexList cells;
    const int columns = view.model()->columnCount(view.rootIndex());
    const int rows = view.model()->rowCount(view.rootIndex());
    for (int i = 0; columns > 0 && i / columns < rows && i < cellsLookedAt; ++i) {
        const QModelIndex cell = view.model()->index(i / columns, i % columns, view.rootIndex());
        if (isShown(view, cell))
            cells << cell;
    }
    return cells;
}

} // namespace

bool dv_holdsItsTexts(const QAbstractItemModel *model)
{
    while (const auto *proxy = qobject_cast<const QAbstractProxyModel *>(model))
        model = proxy->sourceModel();
    if (!model)
        return false;
    // The last three are those of QListWidget, QTreeWidget and QTableWidget.
    return qobject_cast<const QStandardItemModel *>(model) || qobject_cast<const QStringListModel *>(model) ||
           model->inherits("QListModel") || model->inherits("QTreeModel") || model->inherits("QTableModel");
}

DVMarkedTexts::Place dv_entryPlace(const QComboBox &box, int index)
{
    const QString held = box.itemText(index);
    if (dv_markedText(&box, {"itemText", index}, held) != held)
        return {"itemText", index};
    for (int i = 0; i < qMin(box.count(), cellsLookedAt); ++i) {
        if (dv_markedText(&box, {"itemText", i}, held) != held)
            return {"itemText", i};
    }
    return {"itemText", index};
}

void dv_replaceEntryText(QComboBox *box, int index, const QString &text, const QString &newText)
{
    if (!dv_holdsItsTexts(box->model()))
        return;
    const auto hold = [=](const QString &held) { box->setItemText(index, held); };
    dv_replaceText({box, dv_entryPlace(*box, index), box->itemText(index), hold}, text, newText);
}

QModelIndexList dv_shownCells(const QAbstractItemView &view)
{
    // A column view is made of lists, which are found in it.
    if (!view.model() || qobject_cast<const QColumnView *>(&view))
        return {};
    if (const auto *table = qobject_cast<const QTableView *>(&view))
        return tableCells(*table);
    if (const auto *tree = qobject_cast<const QTreeView *>(&view))
        return treeCells(*tree);
    if (const auto *list = qobject_cast<const QListView *>(&view))
        return listCells(*list);
    return anyCells(view);
}

QList<int> dv_shownSections(const QHeaderView &header)
{
    const QSize size = header.viewport()->size();
    return sectionsWithin(header, header.orientation() == Qt::Horizontal ? size.width() : size.height());
}
