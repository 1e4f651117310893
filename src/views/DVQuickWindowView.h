// DVQuickWindowView: a QQuickWindow that is on the screen by itself.
#pragma once

#include "DVView.h"

#include <QPointer>
#include <QQuickWindow>

class DVQuickWindowView final : public DVView, public std::enable_shared_from_this<DVQuickWindowView>
{
public:
    explicit DVQuickWindowView(QQuickWindow *window);

    QObject *object() const override;
    bool isSameAs(const DVView &other) const override;
    QList<DVViewPtr> subviews() const override; // its title, and its scene
    DVViewPtr superview() const override;
    DVViewPtr viewAt(const QPointF &windowPoint) override;
    std::optional<DVViewText> text() const override;
    void setText(const DVViewText &text, const DVViewText &newText) override;
    QRectF frame() const override;
    void contentsDidChange() override;

private:
    QPointer<QQuickWindow> m_window;
};
