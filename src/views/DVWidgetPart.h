// DVWidgetPart: something in a widget that shows a text and is no widget itself.
#pragma once

#include "DVView.h"

#include <QPointer>
#include <QRect>
#include <QWidget>

class DVWidgetPart : public DVView, public std::enable_shared_from_this<DVWidgetPart>
{
public:
    explicit DVWidgetPart(QWidget *widget);

    QObject *object() const override;
    bool isSameAs(const DVView &other) const final;
    QList<DVViewPtr> subviews() const final;
    DVViewPtr superview() const override;
    DVViewPtr viewAt(const QPointF &windowPoint) final;
    std::optional<DVViewText> text() const override;
    void setText(const DVViewText &text, const DVViewText &newText) override;
    QRectF frame() const final;
    void contentsDidChange() override;

protected:
    QWidget *widget() const { return m_widget; }

    // Called only while the widget lives.
    virtual std::optional<DVViewText> shownText() const = 0;
    virtual void showText(const DVViewText &text, const DVViewText &newText) = 0;
    // In the widget; empty where the part cannot be seen.
    virtual QRect rect() const = 0;
    // Whether another part of the same kind, in the same widget, is this one.
    virtual bool isSamePart(const DVWidgetPart &other) const;

private:
    QPointer<QWidget> m_widget;
};

// A text property that is shown beside other things, such as a group box's title.
class DVPropertyPart : public DVWidgetPart
{
public:
    // `property` is a literal; `place` is called while the widget lives, and gets it.
    using Rect = QRect (*)(const QWidget &widget);
    DVPropertyPart(QWidget *widget, const char *property, Rect place);

protected:
    std::optional<DVViewText> shownText() const override;
    void showText(const DVViewText &text, const DVViewText &newText) override;
    QRect rect() const override;
    bool isSamePart(const DVWidgetPart &other) const override;

private:
    const char *m_property;
    Rect m_place;
};
