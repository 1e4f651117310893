#include "DVWidgetItems.h"

#include "DVItemTexts.h"
#include "DVPropertyText.h"
#include "DVWidgetPart.h"

#include <QComboBox>
#include <QHeaderView>
#include <QListView>
#include <QPersistentModelIndex>

namespace {

bool isText(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<QString>();
}

// Whose list of entries a view is; null for any other view.
QComboBox *comboBoxOf(const QWidget &view)
{
    const QWidget *popup = view.window();
    return popup != &view ? qobject_cast<QComboBox *>(popup->parentWidget()) : nullptr;
}

class Cell final : public DVWidgetPart
{
public:
    Cell(QAbstractItemView *view, const QModelIndex &index)
        : DVWidgetPart(view)
        , m_index(index)
    {}

protected:
    std::optional<DVViewText> shownText() const override
    {
        const QVariant value = m_index.data(Qt::DisplayRole);
        if (!isText(value))
            return std::nullopt;
        const QComboBox *box = comboBoxOf(*widget());
        if (!box)
            return DVViewText{value.toString(), {}};
        return DVViewText{dv_markedText(box, dv_entryPlace(*box, m_index.row()), value.toString()), {}};
    }

    // While somebody writes in the cell, a new text would take the place of what was written.
    void showText(const DVViewText &text, const DVViewText &newText) override
    {
        if (!m_index.isValid() || view()->indexWidget(m_index) || !dv_holdsItsTexts(m_index.model()))
            return;
        if (QComboBox *box = comboBoxOf(*widget()))
            return dv_replaceEntryText(box, m_index.row(), text.text, newText.text);
        auto *model = const_cast<QAbstractItemModel *>(m_index.model());
        const auto hold = [&](const QString &held) { model->setData(m_index, held, Qt::DisplayRole); };
        dv_replaceText({model, {"display"}, m_index.data(Qt::DisplayRole).toString(), hold}, text.text,
                       newText.text);
    }

    QRect rect() const override
    {
        if (!m_index.isValid() || view()->model() != m_index.model())
            return {};
        const QWidget *viewport = view()->viewport();
        return view()->visualRect(m_index).intersected(viewport->rect()).translated(viewport->pos());
    }

    bool isSamePart(const DVWidgetPart &other) const override
    {
        return m_index.isValid() && static_cast<const Cell &>(other).m_index == m_index;
    }

private:
    QAbstractItemView *view() const { return static_cast<QAbstractItemView *>(widget()); }

    QPersistentModelIndex m_index;
};

class Section final : public DVWidgetPart
{
public:
    Section(QHeaderView *header, int section)
        : DVWidgetPart(header)
        , m_section(section)
    {}

protected:
    std::optional<DVViewText> shownText() const override
    {
        const QVariant value = data();
        return isText(value) ? std::optional(DVViewText{value.toString(), {}}) : std::nullopt;
    }

    void showText(const DVViewText &text, const DVViewText &newText) override
    {
        QAbstractItemModel *model = header()->model();
        if (!dv_holdsItsTexts(model) || !isText(data()))
            return;
        const auto hold = [&](const QString &held) {
            model->setHeaderData(m_section, header()->orientation(), held, Qt::DisplayRole);
        };
        dv_replaceText({model, {"headerData"}, data().toString(), hold}, text.text, newText.text);
    }

    QRect rect() const override
    {
        if (m_section >= header()->count() || header()->isSectionHidden(m_section))
            return {};
        const int position = header()->sectionViewportPosition(m_section);
        const int size = header()->sectionSize(m_section);
        const QWidget *viewport = header()->viewport();
        const QRect section = header()->orientation() == Qt::Horizontal
                                  ? QRect(position, 0, size, viewport->height())
                                  : QRect(0, position, viewport->width(), size);
        return section.intersected(viewport->rect()).translated(viewport->pos());
    }

    bool isSamePart(const DVWidgetPart &other) const override
    {
        return static_cast<const Section &>(other).m_section == m_section;
    }

private:
    QHeaderView *header() const { return static_cast<QHeaderView *>(widget()); }
    QVariant data() const
    {
        const QAbstractItemModel *model = header()->model();
        return model && m_section < header()->count() ? model->headerData(m_section, header()->orientation())
                                                      : QVariant();
    }

    int m_section;
};

} // namespace

void DVItemView::contentsDidChange()
{
    if (!widget())
        return;
    const auto *list = qobject_cast<QListView *>(widget());
    // Laying out again would put back what the user has moved.
    if (!list || list->movement() == QListView::Static)
        widget()->doItemsLayout();
    widget()->viewport()->update();
}

QList<DVViewPtr> DVItemView::parts() const
{
    QList<DVViewPtr> cells;
    for (const QModelIndex &index : dv_shownCells(*widget())) {
        if (isText(index.data(Qt::DisplayRole)))
            cells << std::make_shared<Cell>(widget(), index);
    }
    return cells;
}

DVViewPtr DVItemView::partAt(const QPoint &point) const
{
    const QModelIndex index = widget()->indexAt(widget()->viewport()->mapFrom(widget(), point));
    if (!index.isValid() || widget()->indexWidget(index) || !isText(index.data(Qt::DisplayRole)))
        return nullptr;
    return std::make_shared<Cell>(widget(), index);
}

void DVHeaderView::contentsDidChange()
{
    if (widget() && widget()->count() > 0)
        widget()->headerDataChanged(widget()->orientation(), 0, widget()->count() - 1);
}

QList<DVViewPtr> DVHeaderView::parts() const
{
    QList<DVViewPtr> sections;
    for (int section : dv_shownSections(*widget())) {
        auto part = std::make_shared<Section>(widget(), section);
        if (part->text())
            sections << part;
    }
    return sections;
}

DVViewPtr DVHeaderView::partAt(const QPoint &point) const
{
    const int section = widget()->logicalIndexAt(widget()->viewport()->mapFrom(widget(), point));
    return section < 0 ? nullptr : std::make_shared<Section>(widget(), section);
}
