#include "DVWidgetKinds.h"

#include "DVPropertyText.h"
#include "DVWidgetButtons.h"
#include "DVWidgetFields.h"
#include "DVWidgetGraphics.h"
#include "DVWidgetItems.h"
#include "DVWidgetLabels.h"
#include "DVWidgetMenus.h"
#include "DVWidgetTabs.h"
#include "DVWidgetTitles.h"
#include "DVWidgetValues.h"

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QGraphicsView>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QStatusBar>
#include <QTabBar>
#include <QTextEdit>
#include <QWizardPage>

#ifdef DORVANE_VIEWS_QUICK
#include "DVQuickWidgetView.h"
#endif

namespace {

// Null when the widget is of another kind.
template<typename View, typename Widget> DVWidgetViewPtr viewOf(QWidget *widget)
{
    auto *found = qobject_cast<Widget *>(widget);
    return found ? std::make_shared<View>(found) : nullptr;
}

using Kind = DVWidgetViewPtr (*)(QWidget *widget);

// The most common first; a header is an item view too.
constexpr Kind kinds[] = {
    viewOf<DVLabelView, QLabel>,
    viewOf<DVButtonView, QAbstractButton>,
    viewOf<DVLineEditView, QLineEdit>,
    viewOf<DVComboBoxView, QComboBox>,
    viewOf<DVSpinBoxView, QAbstractSpinBox>,
    viewOf<DVGroupBoxView, QGroupBox>,
    viewOf<DVTextEditView, QTextEdit>,
    viewOf<DVPlainTextEditView, QPlainTextEdit>,
    viewOf<DVHeaderView, QHeaderView>,
    viewOf<DVItemView, QAbstractItemView>,
    viewOf<DVTabBarView, QTabBar>,
    viewOf<DVMenuView, QMenu>,
    viewOf<DVMenuBarView, QMenuBar>,
    viewOf<DVProgressBarView, QProgressBar>,
    viewOf<DVStatusBarView, QStatusBar>,
    viewOf<DVGraphicsView, QGraphicsView>,
    viewOf<DVWidgetView, QWizardPage>, // its titles are labels of the wizard
};

} // namespace

DVWidgetViewPtr dv_widgetView(QWidget *widget)
{
    for (const Kind kind : kinds) {
        if (DVWidgetViewPtr view = kind(widget))
            return view;
    }
#ifdef DORVANE_VIEWS_QUICK
    if (DVQuickWidgetView::isNeededFor(*widget))
        return std::make_shared<DVQuickWidgetView>(widget);
#endif
    const bool hasText = dv_hasTextProperty(widget, "text");
    const bool hasTitle = dv_hasTextProperty(widget, "title");
    if (hasText || hasTitle)
        return std::make_shared<DVTextPropertyView>(widget, hasText ? "text" : "title",
                                                    hasText && hasTitle ? "title" : nullptr);
    return std::make_shared<DVWidgetView>(widget);
}
