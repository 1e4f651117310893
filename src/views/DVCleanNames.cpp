#include "DVCleanNames.h"

#include "DVCleanFields.h"
#include "DVCueMarkers.h"

#include <QAccessible>
#include <QLabel>
#include <QTabBar>
#include <QVariant>
#include <QWidget>

namespace {

QString said(QWidget &widget, QAccessible::Text what)
{
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(&widget);
    return interface ? interface->text(what) : QString();
}

} // namespace

void DVCleanNames::follow(QWidget &widget)
{
    if (QWidget *buddy = buddyOf(widget))
        followAlone(*buddy);
    followAlone(widget);
}

void DVCleanNames::followAlone(QWidget &widget)
{
    if (auto *bar = qobject_cast<QTabBar *>(&widget))
        nameTabs(*bar);
    if (dv_holdsCues(widget.accessibleName()))
        widget.setAccessibleName(dv_stringByRemovingCues(widget.accessibleName()));
    if (dv_holdsCues(widget.accessibleDescription()))
        widget.setAccessibleDescription(dv_stringByRemovingCues(widget.accessibleDescription()));
    if (dv_holdsCues(widget.whatsThis()))
        dv_cleanProperty(widget, "whatsThis");
    const auto given = m_given.find(&widget);
    const bool isKnown = given != m_given.end();
    const QString sources = sourcesOf(widget);
    if (isKnown ? given->sources == sources : !dv_holdsCues(sources))
        return;
    if (!isKnown)
        forgetWhenGone(widget);
    Given mine = isKnown ? *given : Given();
    mine.sources = sources;
    name(widget, mine);
    m_given.insert(&widget, mine);
}

void DVCleanNames::nameTabs(QTabBar &bar)
{
    const QSet<QString> before = m_tabNames.value(&bar);
    QSet<QString> given;
    for (int i = 0; i < bar.count(); ++i) {
        const QString name = bar.accessibleTabName(i);
        QString clean = dv_holdsCues(name) ? dv_stringByRemovingCues(name) : name;
        if (name.isEmpty() || before.contains(name)) {
            const QString text = bar.tabText(i);
            clean = dv_holdsCues(text) ? dv_stringByRemovingCues(text).remove(u'&') : QString();
            given.insert(clean);
        }
        if (clean != name)
            bar.setAccessibleTabName(i, clean);
    }
    given.remove({});
    if (given == before)
        return;
    if (!m_tabNames.contains(&bar))
        forgetWhenGone(bar);
    m_tabNames.insert(&bar, given);
}

// Everything of which a widget's accessible name or description may be made. U+0000 is in no text.
QString DVCleanNames::sourcesOf(const QWidget &widget) const
{
    QString sources;
    for (const char *property : {"text", "title", "placeholderText"}) {
        const QVariant value = widget.property(property);
        if (value.typeId() == QMetaType::QString)
            sources += value.toString() % QChar(u'\0');
    }
    sources += widget.toolTip() % QChar(u'\0') % widget.whatsThis() % QChar(u'\0');
    if (const auto caption = m_captions.constFind(&widget); caption != m_captions.constEnd() && *caption)
        sources += (*caption)->text();
    return sources;
}

// A field has its name from the label whose buddy it is. The buddy of that field is another widget's matter:
// labels may be each other's buddies.
QWidget *DVCleanNames::buddyOf(QWidget &widget)
{
    const auto *label = qobject_cast<QLabel *>(&widget);
    QWidget *buddy = label ? label->buddy() : nullptr;
    if (!buddy)
        return nullptr;
    if (m_captions.value(buddy) != label) {
        forgetWhenGone(*buddy);
        m_captions.insert(buddy, label);
    }
    return buddy;
}

void DVCleanNames::forgetWhenGone(QWidget &widget)
{
    connect(&widget, &QObject::destroyed, this, [this, gone = &widget] {
        m_given.remove(gone);
        m_tabNames.remove(gone);
        m_captions.remove(gone);
    });
}

// What the tools would read is asked of Qt, after what we gave was taken back.
void DVCleanNames::name(QWidget &widget, Given &given)
{
    if (!given.name.isNull() && widget.accessibleName() == given.name)
        widget.setAccessibleName({});
    if (!given.description.isNull() && widget.accessibleDescription() == given.description)
        widget.setAccessibleDescription({});
    given.name = given.description = QString();
    const QString shownName = said(widget, QAccessible::Name);
    if (dv_holdsCues(shownName)) {
        given.name = dv_stringByRemovingCues(shownName);
        widget.setAccessibleName(given.name);
    }
    const QString shownDescription = said(widget, QAccessible::Description);
    if (dv_holdsCues(shownDescription)) {
        given.description = dv_stringByRemovingCues(shownDescription);
        widget.setAccessibleDescription(given.description);
    }
}
