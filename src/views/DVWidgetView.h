// DVWidgetView: a widget of the host's, and the tree of widgets.
#pragma once

#include "DVView.h"

#include <QPointer>
#include <QWidget>

class DVWidgetView;
using DVWidgetViewPtr = std::shared_ptr<DVWidgetView>;

// Kinds of widgets derive from it and say what text they show and what parts they have.
class DVWidgetView : public DVView, public std::enable_shared_from_this<DVWidgetView>
{
public:
    explicit DVWidgetView(QWidget *widget);

    QObject *object() const final;
    bool isSameAs(const DVView &other) const final;
    QList<DVViewPtr> subviews() const final;
    DVViewPtr superview() const final;
    DVViewPtr viewAt(const QPointF &windowPoint) final;
    std::optional<DVViewText> text() const final;
    void setText(const DVViewText &text, const DVViewText &newText) final;
    QRectF frame() const final;
    void contentsDidChange() override;

    // The widget's own text, also where it is given as a part because the widget contains others. Called only
    // while the widget lives.
    virtual std::optional<DVViewText> ownText() const;
    virtual void setOwnText(const DVViewText &text, const DVViewText &newText);

protected:
    QWidget *widget() const { return m_widget; }

    // Called only while the widget is shown. From back to front.
    virtual QList<DVViewPtr> parts() const;
    // Null when none is there.
    virtual DVViewPtr partAt(const QPoint &point) const;
    // Whether a shown child is one of its subviews. A widget without any is a label when it has a text.
    virtual bool hasAsSubview(const QWidget &child) const;

private:
    // A child can be a detail of how its parent shows what it has.
    static QWidget *showingWidget(QWidget *child);

    QWidgetList shownChildren() const;
    bool contains(const QWidgetList &children) const;
    DVViewPtr ownTextPart(const QWidgetList &children) const;
    DVViewPtr partOrSelfAt(const QPoint &point);

    QPointer<QWidget> m_widget;
};

// Of one kind of widget, which its own views get as what it is.
template<typename Widget> class DVWidgetViewOf : public DVWidgetView
{
public:
    explicit DVWidgetViewOf(Widget *widget)
        : DVWidgetView(widget)
    {}

protected:
    Widget *widget() const { return static_cast<Widget *>(DVWidgetView::widget()); }
};

// Whether something of it can be seen in its parent: hidden, collapsed to nothing or moved out of the parent
// it is not shown.
bool dv_isShown(const QWidget &widget);

// A rectangle of a widget in points of its window; empty while the widget, or one that it stands in, is not
// shown.
QRectF dv_windowRect(const QWidget &widget, const QRect &rect);
