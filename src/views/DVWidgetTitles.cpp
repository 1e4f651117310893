#include "DVWidgetTitles.h"

#include "DVPropertyText.h"
#include "DVWidgetPart.h"

#include <QDockWidget>
#include <QGroupBox>
#include <QMdiSubWindow>
#include <QStatusBar>
#include <QStyle>
#include <QStyleOptionGroupBox>
#include <QTimer>
#include <QWizard>

namespace {

// The window system draws it, outside of the window's points.
QRect nowhere(const QWidget & /*window*/)
{
    return {};
}

QRect beside(const QWidget &widget, const QWidget *contents, bool isVertical)
{
    const QRect whole = widget.rect();
    if (!contents || !contents->isVisible())
        return whole;
    return isVertical ? QRect(0, 0, contents->x(), whole.height())
                      : QRect(0, 0, whole.width(), contents->y());
}

QRect dockTitleRect(const QWidget &widget)
{
    const auto &dock = static_cast<const QDockWidget &>(widget);
    return beside(dock, dock.widget(), dock.features().testFlag(QDockWidget::DockWidgetVerticalTitleBar));
}

QRect subWindowTitleRect(const QWidget &widget)
{
    return beside(widget, static_cast<const QMdiSubWindow &>(widget).widget(), false);
}

QRect groupBoxTitleRect(const QWidget &widget)
{
    const auto &box = static_cast<const QGroupBox &>(widget);
    QStyleOptionGroupBox option;
    option.initFrom(&box);
    option.text = box.title();
    option.textAlignment = box.alignment();
    option.lineWidth = 1;
    option.subControls = QStyle::SC_GroupBoxFrame | QStyle::SC_GroupBoxLabel;
    if (box.isCheckable())
        option.subControls |= QStyle::SC_GroupBoxCheckBox;
    if (box.isFlat())
        option.features |= QStyleOptionFrame::Flat;
    return box.style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel, &box);
}

bool hasFrameOfTheSystem(const QWidget &widget)
{
    const Qt::WindowType type = widget.windowType();
    const bool isKind = type == Qt::Window || type == Qt::Dialog || type == Qt::Tool || type == Qt::Sheet;
    return widget.isWindow() && isKind && !widget.windowFlags().testFlag(Qt::FramelessWindowHint);
}

DVPropertyPart::Rect titlePlace(const QWidget &widget)
{
    const auto *dock = qobject_cast<const QDockWidget *>(&widget);
    if (dock)
        return dock->titleBarWidget() ? nullptr : dockTitleRect;
    if (qobject_cast<const QMdiSubWindow *>(&widget))
        return widget.windowFlags().testFlag(Qt::FramelessWindowHint) || widget.isMaximized()
                   ? nullptr
                   : subWindowTitleRect;
    return hasFrameOfTheSystem(widget) ? nowhere : nullptr;
}

class Message final : public DVWidgetPart
{
public:
    explicit Message(QStatusBar *bar)
        : DVWidgetPart(bar)
    {}

protected:
    std::optional<DVViewText> shownText() const override
    {
        return DVViewText{dv_markedText(bar(), {"message"}, bar()->currentMessage()), {}};
    }

    // It goes when it would have gone.
    void showText(const DVViewText &text, const DVViewText &newText) override
    {
        const auto *timer = bar()->findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
        const int rest = timer && timer->isActive() ? qMax(1, timer->remainingTime()) : 0;
        const auto hold = [&](const QString &held) { bar()->showMessage(held, rest); };
        dv_replaceText({bar(), {"message"}, bar()->currentMessage(), hold}, text.text, newText.text);
    }

    QRect rect() const override { return bar()->currentMessage().isEmpty() ? QRect() : bar()->rect(); }

private:
    QStatusBar *bar() const { return static_cast<QStatusBar *>(widget()); }
};

} // namespace

DVViewPtr dv_titlePart(QWidget *widget)
{
    const DVPropertyPart::Rect place = widget->windowTitle().isEmpty() ? nullptr : titlePlace(*widget);
    return place ? std::make_shared<DVPropertyPart>(widget, "windowTitle", place) : nullptr;
}

QWizard *dv_wizardAbove(const QWidget &widget)
{
    QWidget *above = widget.parentWidget();
    while (above && !above->isWindow() && !qobject_cast<QWizard *>(above))
        above = above->parentWidget();
    return qobject_cast<QWizard *>(above);
}

QList<DVViewPtr> DVGroupBoxView::parts() const
{
    if (widget()->title().isEmpty())
        return {};
    return {std::make_shared<DVPropertyPart>(widget(), "title", groupBoxTitleRect)};
}

QList<DVViewPtr> DVStatusBarView::parts() const
{
    auto *bar = widget();
    return bar->currentMessage().isEmpty() ? QList<DVViewPtr>()
                                           : QList<DVViewPtr>{std::make_shared<Message>(bar)};
}
