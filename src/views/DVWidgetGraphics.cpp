#include "DVWidgetGraphics.h"

#include "DVCleanFields.h"
#include "DVDocumentText.h"
#include "DVWidgetPart.h"

#include <QGraphicsScene>
#include <QGraphicsSimpleTextItem>
#include <QGraphicsTextItem>
#include <QGraphicsView>
#include <QTextDocument>

namespace {

// Items are no objects that could be guarded: this one is looked for in the scene before it is touched, and
// another kind of item can be at its address by then.
class SceneText final : public DVWidgetPart
{
public:
    SceneText(QGraphicsView *view, QGraphicsItem *item)
        : DVWidgetPart(view)
        , m_item(item)
        , m_place(item->sceneBoundingRect())
    {}

    static bool isText(const QGraphicsItem *item)
    {
        return item->type() == QGraphicsTextItem::Type || item->type() == QGraphicsSimpleTextItem::Type;
    }

protected:
    std::optional<DVViewText> shownText() const override
    {
        if (!isThere())
            return std::nullopt;
        if (const auto *simple = qgraphicsitem_cast<QGraphicsSimpleTextItem *>(m_item))
            return DVViewText{simple->text(), {}};
        const auto *styled = static_cast<QGraphicsTextItem *>(m_item);
        const QString text = styled->toPlainText();
        // HTML of a long text costs, and without markers nobody asks for it.
        const bool isRich = dv_holdsCues(text) && dv_isRich(*styled->document());
        return DVViewText{text, isRich ? styled->toHtml() : QString()};
    }

    void showText(const DVViewText &text, const DVViewText &newText) override
    {
        const std::optional<DVViewText> shown = shownText();
        if (!shown || shown->text != text.text || newText.text == text.text)
            return;
        if (auto *simple = qgraphicsitem_cast<QGraphicsSimpleTextItem *>(m_item))
            return simple->setText(newText.text);
        auto *styled = static_cast<QGraphicsTextItem *>(m_item);
        const bool isEditable = styled->textInteractionFlags().testFlag(Qt::TextEditable);
        if (isEditable && styled->document()->isModified())
            return; // the user has written it
        newText.isRich() ? styled->setHtml(newText.richText) : styled->setPlainText(newText.text);
    }

    QRect rect() const override
    {
        if (!isThere())
            return {};
        const QWidget *viewport = view()->viewport();
        const QRect inViewport = view()->mapFromScene(m_item->sceneBoundingRect()).boundingRect();
        return inViewport.intersected(viewport->rect()).translated(viewport->pos());
    }

    bool isSamePart(const DVWidgetPart &other) const override
    {
        return isThere() && static_cast<const SceneText &>(other).m_item == m_item;
    }

private:
    QGraphicsView *view() const { return static_cast<QGraphicsView *>(widget()); }

    // First where it was: all items of a scene are many.
    bool isThere() const
    {
        const QGraphicsScene *scene = view()->scene();
        return scene &&
               (scene->items(m_place, Qt::IntersectsItemBoundingRect).contains(m_item) ||
                scene->items().contains(m_item)) &&
               isText(m_item);
    }

    QGraphicsItem *m_item;
    QRectF m_place;
};

} // namespace

QList<DVViewPtr> DVGraphicsView::parts() const
{
    QList<DVViewPtr> texts;
    for (QGraphicsItem *item : widget()->items(widget()->viewport()->rect())) { // from front to back
        if (item->isVisible() && SceneText::isText(item))
            texts.prepend(std::make_shared<SceneText>(widget(), item));
    }
    return texts;
}

DVViewPtr DVGraphicsView::partAt(const QPoint &point) const
{
    QGraphicsItem *item = widget()->itemAt(widget()->viewport()->mapFrom(widget(), point));
    return item && SceneText::isText(item) ? std::make_shared<SceneText>(widget(), item) : nullptr;
}
