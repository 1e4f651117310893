#include "DVQuickTexts.h"

#include "DVMarkup.h"
#include "DVPropertyText.h"
#include "DVQuickClass.h"
#include "DVQuickScene.h"

#include <QMetaProperty>
#include <QQuickItem>
#include <QTextDocument>
#include <QVariant>

#include <algorithm>

namespace {

bool isTextItem(const QQuickItem &item)
{
    return dv_quickClass(item).isText || dv_quickClass(item).isField;
}

// A button's text is its own: it is nobody's above, even when that has the same one.
bool isButton(const QQuickItem &item)
{
    return dv_quickClass(item).isButton;
}

// A title stands beside the contents, and not among them.
bool isContentOfTitled(const QQuickItem &item, const QQuickItem &owner, const char *property)
{
    return qstrcmp(property, "title") == 0 && owner.property("contentItem").value<QQuickItem *>() == &item;
}

// Whether the item draws the text itself, when none of those below does.
bool drawsAlone(const QQuickItem &item, const char *property)
{
    const QMetaObject *type = item.metaObject();
    const QMetaObject *enclosing = type->property(type->indexOfProperty(property)).enclosingMetaObject();
    const QByteArray declaring = enclosing ? enclosing->className() : "";
    if (declaring.contains("_QML")) // a QML file's property is drawn by the items in the file
        return false;
    if (declaring.startsWith("QQuick") && !declaring.startsWith("QQuickPainted"))
        return isTextItem(item) && qstrcmp(property, "text") == 0;
    return true; // a class of the application
}

bool isRichText(const QObject &object, const QString &text)
{
    if (!object.inherits("QQuickText") && !object.inherits("QQuickTextEdit"))
        return false;
    switch (object.property("textFormat").toInt()) {
    case Qt::RichText:
    case 4: // Text.StyledText
        return true;
    case Qt::AutoText:
        return Qt::mightBeRichText(text);
    default:
        return false;
    }
}

// Goes through the items below an owner that may draw its text.
class Search
{
public:
    Search(const QQuickItem &owner, const QList<const char *> &properties)
        : m_owner(owner)
    {
        for (const char *property : properties)
            m_texts.append({property, dv_quickMarkedText(owner, property), {}});
        dv_quickVisit(owner, [this](QQuickItem &item) { return visit(item, true); });
    }

    bool foundOthers() const { return m_others; }
    QList<DVQuickDrawer> drawers(const char *property) const
    {
        for (const Text &text : m_texts) {
            if (text.property == property)
                return text.drawers;
        }
        return {};
    }

private:
    struct Text
    {
        const char *property;
        QString marked;
        QList<DVQuickDrawer> drawers;
    };

    bool visit(QQuickItem &item, bool mayDraw)
    {
        if (!mayDraw && m_others)
            return false; // all that was to be known
        const bool within = mayDraw && !isButton(item);
        for (const char *property : dv_quickTextProperties(item))
            take(item, property, within);
        if (!mayDraw || (within && !isContent(item)))
            return true;
        dv_quickVisit(item, [this](QQuickItem &inner) { return visit(inner, false); });
        return false;
    }

    bool isContent(const QQuickItem &item) const
    {
        return std::any_of(m_texts.begin(), m_texts.end(),
                           [&](const Text &text) { return isContentOfTitled(item, m_owner, text.property); });
    }

    void take(QQuickItem &item, const char *property, bool mayDraw)
    {
        const QString marked = dv_quickMarkedText(item, property);
        if (marked.isEmpty() || (isTextItem(item) && dv_quickIsClippedAway(item)))
            return;
        const auto same = std::find_if(m_texts.begin(), m_texts.end(),
                                       [&](const Text &text) { return text.marked == marked; });
        if (mayDraw && same != m_texts.end())
            same->drawers.append({&item, property, drawsAlone(item, property)});
        else
            m_others = true;
    }

    const QQuickItem &m_owner;
    QList<Text> m_texts;
    bool m_others = false;
};

bool isTyped(const QQuickItem &item)
{
    return !item.property("readOnly").toBool() &&
           (item.property("canUndo").toBool() || item.property("canRedo").toBool() ||
            item.property("inputMethodComposing").toBool());
}

} // namespace

QList<const char *> dv_quickTextProperties(const QQuickItem &item)
{
    const DVQuickClass found = dv_quickClass(item);
    QList<const char *> properties;
    if (found.isText)
        return {"text"};
    if (found.isComboBox)
        return {"displayText"};
    if (found.isField) {
        const QVariant echo = item.property("echoMode");
        if (!isTyped(item) && (!echo.isValid() || echo.toInt() == 0))
            properties << "text";
        if (found.hasPlaceholder)
            properties << "placeholderText";
        return properties;
    }
    if (found.hasText)
        properties << "text";
    if (found.hasTitle)
        properties << "title";
    return properties;
}

QString dv_quickHeldText(const QObject &object, const char *property)
{
    return object.property(property).toString();
}

QString dv_quickMarkedText(const QObject &object, const char *property)
{
    return dv_markedText(&object, {property}, dv_quickHeldText(object, property));
}

DVViewText dv_quickText(const QObject &object, const char *property)
{
    const QString marked = dv_quickMarkedText(object, property);
    if (qstrcmp(property, "text") == 0 && isRichText(object, marked))
        return {DVMarkup::plainText(marked), marked};
    return {marked, {}};
}

DVQuickShownTexts dv_quickShownTexts(const QQuickItem &item)
{
    const QList<const char *> own = dv_quickTextProperties(item);
    if (own.isEmpty() || (own.size() == 1 && isTextItem(item) && item.childItems().isEmpty()))
        return {own, own.isEmpty()};
    // Most titles are empty, and most items with one contain a whole page.
    const auto isEmpty = [&](const char *property) { return dv_quickHeldText(item, property).isEmpty(); };
    if (!isTextItem(item) && std::all_of(own.begin(), own.end(), isEmpty))
        return {{}, true};
    const Search search(item, own);
    DVQuickShownTexts shown{{}, search.foundOthers()};
    for (const char *property : own) {
        const QList<DVQuickDrawer> drawers = search.drawers(property);
        const bool drawn = std::any_of(drawers.begin(), drawers.end(),
                                       [](const DVQuickDrawer &drawer) { return drawer.draws; });
        if (drawn || (drawsAlone(item, property) && (isTextItem(item) || !shown.othersBelow)))
            shown.properties << property;
    }
    if (shown.properties.size() > 1) // an empty field shows what it asks for
        shown.properties.removeIf(
            [&](const char *property) { return dv_quickHeldText(item, property).isEmpty(); });
    return shown;
}

DVQuickOwner dv_quickOwner(const QQuickItem &item, const char *property)
{
    DVQuickOwner owner;
    const QString marked = dv_quickMarkedText(item, property);
    if (marked.isEmpty() || isButton(item))
        return owner;
    const QQuickItem *below = &item;
    for (QQuickItem *above = item.parentItem(); above; below = above, above = above->parentItem()) {
        for (const char *candidate : dv_quickTextProperties(*above)) {
            if (dv_quickMarkedText(*above, candidate) == marked &&
                !isContentOfTitled(*below, *above, candidate))
                owner = {above, candidate};
        }
        if (isButton(*above))
            break;
    }
    return owner;
}

QList<DVQuickDrawer> dv_quickDrawers(const QQuickItem &item, const char *property)
{
    return Search(item, {property}).drawers(property);
}
