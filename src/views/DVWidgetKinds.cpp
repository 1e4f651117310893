#include "DVWidgetKinds.h"

#include "DVPropertyText.h"
#include "DVWidgetLabels.h"

#include <QAbstractButton>
#include <QLabel>

#ifdef DORVANE_VIEWS_QUICK
#include "DVQuickWidgetView.h"
#endif

DVViewPtr dv_widgetView(QWidget *widget)
{
#ifdef DORVANE_VIEWS_QUICK
    if (DVQuickWidgetView::isNeededFor(*widget))
        return std::make_shared<DVQuickWidgetView>(widget);
#endif
    if (auto *label = qobject_cast<QLabel *>(widget))
        return std::make_shared<DVLabelView>(label);
    if (qobject_cast<QAbstractButton *>(widget))
        return std::make_shared<DVTextPropertyView>(widget, "text");
    for (const char *property : {"text", "title"}) {
        if (dv_hasTextProperty(widget, property))
            return std::make_shared<DVTextPropertyView>(widget, property);
    }
    return std::make_shared<DVWidgetView>(widget);
}
