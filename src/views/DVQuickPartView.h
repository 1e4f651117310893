// DVQuickPartView: a text of an item, a window or an action that contains or is shown by other things.
#pragma once

#include "DVView.h"

#include <QObject>
#include <QPointer>

class DVQuickPartView final : public DVView, public std::enable_shared_from_this<DVQuickPartView>
{
public:
    // `property` is a literal.
    DVQuickPartView(QObject *object, const char *property);

    QObject *object() const override;
    bool isSameAs(const DVView &other) const override;
    QList<DVViewPtr> subviews() const override;
    DVViewPtr superview() const override;
    DVViewPtr viewAt(const QPointF &windowPoint) override;
    std::optional<DVViewText> text() const override;
    void setText(const DVViewText &text, const DVViewText &newText) override;
    // Of an item the place where the text is drawn; of a window's title and of an action none.
    QRectF frame() const override;
    void contentsDidChange() override;

private:
    QPointer<QObject> m_object;
    const char *m_property;
};
