// Widgets that show one text of their own: labels, buttons, and the host's own that have such a property.
#pragma once

#include "DVWidgetView.h"

class QAbstractButton;
class QLabel;

class DVLabelView final : public DVWidgetView
{
public:
    explicit DVLabelView(QLabel *label);

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

private:
    QLabel *label() const;
};

// One property, found by name.
class DVTextPropertyView : public DVWidgetView
{
public:
    DVTextPropertyView(QWidget *widget, const char *property);

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

private:
    const char *m_property;
};
