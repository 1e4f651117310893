#include "DVWidgetKinds.h"

#include "DVPropertyText.h"
#include "DVWidgetLabels.h"

#include <QAbstractButton>
#include <QLabel>

DVViewPtr dv_widgetView(QWidget *widget)
{
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
