// Widgets that show one text of their own: labels, buttons, and the host's own that have such a property.
#pragma once

#include "DVWidgetView.h"

class QAbstractButton;
class QLabel;

class DVLabelView final : public DVWidgetViewOf<QLabel>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;
};

// One property or two (`second`, or null), found by name. Where each of two is drawn nobody can tell.
class DVTextPropertyView final : public DVWidgetView
{
public:
    DVTextPropertyView(QWidget *widget, const char *property, const char *second);

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;

private:
    const char *m_property;
    const char *m_second;
};
