// DVView: one thing in the host's windows that shows a text, or that contains such things.
#pragma once

#include <QList>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <memory>
#include <optional>

class DVView;
using DVViewPtr = std::shared_ptr<DVView>;
class QObject;
class QWindow;

// A text as a view shows it, with its markers.
struct DVViewText
{
    QString text;     // of a rich text the plain text; positions and lengths count in it
    QString richText; // HTML; null when the view shows plain text
    bool isRich() const { return !richText.isNull(); }
};

// A widget or a Qt Quick item, or a part of one that is no object of its own: a tab, a section of a header, a
// cell of an item view, an entry of a menu, a window's title. It is made when somebody asks and keeps nothing
// alive: when its object is deleted, or its part is gone, it shows nothing and takes nothing. Main thread.
class DVView
{
public:
    DVView() = default;
    virtual ~DVView() = default;
    Q_DISABLE_COPY_MOVE(DVView)

    // The widget, item or action; of a part, the one that it belongs to. Null once that is deleted.
    virtual QObject *object() const = 0;
    // Whether both stand for the same thing on the screen.
    virtual bool isSameAs(const DVView &other) const = 0;

    // What it contains and shows now, from back to front; never what is hidden. A part of a view is its
    // subview.
    virtual QList<DVViewPtr> subviews() const = 0;
    // Null for a window and for what is in none.
    virtual DVViewPtr superview() const = 0;
    // The deepest view that shows something at a point of the window; itself when nothing inside does.
    virtual DVViewPtr viewAt(const QPointF &windowPoint) = 0;

    // Nothing: it is no label. An empty text is a text.
    virtual std::optional<DVViewText> text() const = 0;
    // Shows another text in place of `text`, which it was found with; what shows something else by now is
    // left as it is where that can be told. Never what the user typed.
    virtual void setText(const DVViewText &text, const DVViewText &newText) = 0;

    // In points of its window; empty while it is not shown.
    virtual QRectF frame() const = 0;
    // An item view reads its model again and repaints; anything else is laid out and painted again.
    virtual void contentsDidChange() = 0;
};

// The view of a widget, a Qt Quick item, an action, or a window (QWidget or QQuickWindow); null for any other
// object.
DVViewPtr dv_view(QObject *object);

// The deepest view at a point of a window of the host's; null for a window that is of neither toolkit.
DVViewPtr dv_viewInWindow(QWindow *window, const QPointF &windowPoint);
