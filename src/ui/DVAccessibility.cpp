#include "DVAccessibility.h"

#include "DVActivityIndicator.h"
#include "DVNavigationController.h"
#include "DVPageControl.h"
#include "DVPopupContentView.h"
#include "DVViewController.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace {

// A popup is called what its screen is called.
class PopupInterface : public QAccessibleWidget
{
public:
    explicit PopupInterface(DVPopupContentView *popup)
        : QAccessibleWidget(popup, QAccessible::Dialog)
    {}

    QString text(QAccessible::Text kind) const override
    {
        const auto *popup = qobject_cast<const DVPopupContentView *>(widget());
        const QString own = QAccessibleWidget::text(kind);
        if (kind != QAccessible::Name || !own.isEmpty() || !popup || !popup->navigationController())
            return own;
        const DVViewController *screen = popup->navigationController()->topViewController();
        return screen ? (screen->accessibleName().isEmpty() ? screen->title() : screen->accessibleName())
                      : own;
    }
};

// A factory of the process is asked about every class: it answers for ours alone.
QAccessibleInterface *interfaceFor(const QString &, QObject *object)
{
    if (auto *popup = qobject_cast<DVPopupContentView *>(object))
        return new PopupInterface(popup); // the accessibility cache's
    if (auto *dots = qobject_cast<DVPageControl *>(object))
        return new QAccessibleWidget(dots, QAccessible::Indicator);
    if (auto *spinner = qobject_cast<DVActivityIndicator *>(object))
        return new QAccessibleWidget(spinner, QAccessible::ProgressBar);
    return nullptr;
}

} // namespace

void dv_installAccessibility()
{
    QAccessible::installFactory(interfaceFor); // Qt keeps it once, until the application object ends
}
