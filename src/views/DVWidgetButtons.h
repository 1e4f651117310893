// Buttons, and what they show of actions.
#pragma once

#include "DVWidgetView.h"

class QAbstractButton;
class QAction;

// A button without a visible text is known by its tool tip.
class DVButtonView final : public DVWidgetViewOf<QAbstractButton>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

protected:
    // The description of a command link.
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;

private:
    // What it shows, and of which object; a button shows some texts of its action.
    struct Place
    {
        QObject *object;
        const char *property;
    };
    std::optional<Place> place() const;
};

// "text" where an action's icon text or tool tip (`property`) is made from its text, else `property`.
const char *dv_actionProperty(const QAction &action, const char *property);
