#include "DVQuickClass.h"

#include <QHash>
#include <QMetaProperty>
#include <QQuickItem>

#include <cstring>

namespace {

// One that belongs to a QML file, and goes with its engine.
bool isOfFile(const QMetaObject &type)
{
    return std::strstr(type.className(), "_QML") != nullptr;
}

void addProperty(DVQuickClass &found, const QMetaProperty &property)
{
    if (property.typeId() != QMetaType::QString || !property.isReadable() || !property.isWritable())
        return;
    found.hasText = found.hasText || qstrcmp(property.name(), "text") == 0;
    found.hasTitle = found.hasTitle || qstrcmp(property.name(), "title") == 0;
    found.hasPlaceholder = found.hasPlaceholder || qstrcmp(property.name(), "placeholderText") == 0;
}

DVQuickClass look(const QQuickItem &item, const QMetaObject &type)
{
    DVQuickClass found;
    found.isText = item.inherits("QQuickText");
    found.isField = item.inherits("QQuickTextInput") || item.inherits("QQuickTextEdit");
    found.isComboBox = item.inherits("QQuickComboBox");
    found.isButton = item.inherits("QQuickAbstractButton");
    found.isItemView = item.inherits("QQuickItemView") || item.inherits("QQuickTableView");
    for (const char *name : {"text", "title", "placeholderText"})
        addProperty(found, type.property(type.indexOfProperty(name)));
    return found;
}

} // namespace

DVQuickClass dv_quickClass(const QQuickItem &item)
{
    static QHash<const QMetaObject *, DVQuickClass> known;
    const QMetaObject *type = item.metaObject();
    while (isOfFile(*type) && type->superClass())
        type = type->superClass();
    auto at = known.constFind(type);
    if (at == known.constEnd())
        at = known.insert(type, look(item, *type));
    DVQuickClass found = *at;
    for (const QMetaObject *file = item.metaObject(); file != type; file = file->superClass()) {
        for (int index = file->propertyOffset(); index < file->propertyCount(); ++index)
            addProperty(found, file->property(index));
    }
    return found;
}
