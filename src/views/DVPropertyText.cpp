#include "DVPropertyText.h"

#include "DVCleanFields.h"
#include "DVCueMarkers.h"

#include <QMetaProperty>
#include <QPointer>
#include <QVariant>

QString dv_markedText(const QObject *object, const DVMarkedTexts::Place &place, const QString &held)
{
    if (held.isEmpty() || dv_holdsCues(held))
        return held;
    return DVMarkedTexts::markedText(object, place, held);
}

void dv_replaceText(const DVHeldText &held, const QString &text, const QString &newText)
{
    const QString marked = held.marked();
    if (marked != text || marked == newText)
        return;
    const bool staysClean = dv_holdsCues(marked) && !dv_holdsCues(held.held);
    const QPointer<QObject> alive = held.object;
    held.hold(staysClean ? dv_stringByRemovingCues(newText) : newText);
    if (staysClean && alive) // the host may have deleted it when it was told
        DVMarkedTexts::remember(held.object, held.place, newText);
}

std::optional<QString> dv_propertyText(const QObject *object, const char *property)
{
    const QVariant value = object->property(property);
    if (value.metaType() != QMetaType::fromType<QString>())
        return std::nullopt;
    return dv_markedText(object, {property}, value.toString());
}

void dv_replacePropertyText(QObject *object, const char *property, const QString &text,
                            const QString &newText)
{
    const QVariant value = object->property(property);
    if (value.metaType() != QMetaType::fromType<QString>())
        return;
    dv_replaceText({object,
                    {property},
                    value.toString(),
                    [object, property](const QString &held) { object->setProperty(property, held); }},
                   text, newText);
}

bool dv_hasTextProperty(const QObject *object, const char *property)
{
    const QMetaObject *type = object->metaObject();
    const int index = type->indexOfProperty(property);
    if (index < 0)
        return false;
    const QMetaProperty found = type->property(index);
    return found.isReadable() && found.isWritable() && found.typeId() == QMetaType::QString;
}
