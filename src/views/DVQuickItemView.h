// DVQuickItemView: a Qt Quick item of the host's.
#pragma once

#include "DVView.h"

#include <QPointer>
#include <QQuickItem>

class DVQuickItemView final : public DVView, public std::enable_shared_from_this<DVQuickItemView>
{
public:
    explicit DVQuickItemView(QQuickItem *item);

    QObject *object() const override;
    bool isSameAs(const DVView &other) const override;
    QList<DVViewPtr> subviews() const override;
    DVViewPtr superview() const override;
    DVViewPtr viewAt(const QPointF &windowPoint) override;
    std::optional<DVViewText> text() const override;
    void setText(const DVViewText &text, const DVViewText &newText) override;
    QRectF frame() const override;
    void contentsDidChange() override;

private:
    QPointer<QQuickItem> m_item;
};

// What stands for an item that draws something: the control whose text it draws, or that it is a detail of,
// or the part of one; within `top`.
DVViewPtr dv_quickViewOf(QQuickItem &item, const QQuickItem &top);
