#include "DVWidgetPart.h"

#include "DVPropertyText.h"
#include "DVWidgetView.h"

#include <typeinfo>

DVWidgetPart::DVWidgetPart(QWidget *widget)
    : m_widget(widget)
{}

QObject *DVWidgetPart::object() const
{
    return m_widget;
}

bool DVWidgetPart::isSameAs(const DVView &other) const
{
    const auto *part = dynamic_cast<const DVWidgetPart *>(&other);
    return m_widget && part && typeid(*this) == typeid(other) && part->m_widget == m_widget &&
           isSamePart(*part);
}

QList<DVViewPtr> DVWidgetPart::subviews() const
{
    return {};
}

DVViewPtr DVWidgetPart::superview() const
{
    return m_widget ? dv_view(m_widget) : nullptr;
}

DVViewPtr DVWidgetPart::viewAt(const QPointF & /*windowPoint*/)
{
    return shared_from_this();
}

std::optional<DVViewText> DVWidgetPart::text() const
{
    return m_widget ? shownText() : std::nullopt;
}

void DVWidgetPart::setText(const DVViewText &text, const DVViewText &newText)
{
    if (m_widget)
        showText(text, newText);
}

QRectF DVWidgetPart::frame() const
{
    if (!m_widget || !m_widget->isVisible())
        return {};
    const QRect inWidget = rect();
    return inWidget.isEmpty() ? QRectF() : dv_windowRect(*m_widget, inWidget);
}

void DVWidgetPart::contentsDidChange()
{
    if (m_widget)
        m_widget->update();
}

bool DVWidgetPart::isSamePart(const DVWidgetPart & /*other*/) const
{
    return true;
}

DVPropertyPart::DVPropertyPart(QWidget *widget, const char *property, Rect place)
    : DVWidgetPart(widget)
    , m_property(property)
    , m_place(place)
{}

std::optional<DVViewText> DVPropertyPart::shownText() const
{
    const std::optional<QString> text = dv_propertyText(widget(), m_property);
    return text ? std::optional(DVViewText{*text, {}}) : std::nullopt;
}

void DVPropertyPart::showText(const DVViewText &text, const DVViewText &newText)
{
    dv_replacePropertyText(widget(), m_property, text.text, newText.text);
}

QRect DVPropertyPart::rect() const
{
    return m_place(*widget());
}

bool DVPropertyPart::isSamePart(const DVWidgetPart &other) const
{
    return qstrcmp(static_cast<const DVPropertyPart &>(other).m_property, m_property) == 0;
}
