// Texts of the host's objects: read with their markers, replaced only while they are what was found.
#pragma once

#include "DVMarkedTexts.h"

#include <QString>

#include <functional>
#include <optional>

class QObject;

// With its markers where the object holds it without them.
QString dv_markedText(const QObject *object, const DVMarkedTexts::Place &place, const QString &held);

// One text of an object: where it is, what the object holds now, and how it takes another.
struct DVHeldText
{
    QObject *object;
    DVMarkedTexts::Place place;
    QString held;
    std::function<void(const QString &)> hold;

    QString marked() const { return dv_markedText(object, place, held); }
};

// Nothing happens when the object shows something else than `text`, or would show the same. What was held
// without markers stays so.
void dv_replaceText(const DVHeldText &held, const QString &text, const QString &newText);

// The text of a property; nothing for one that is not there, or is no text.
std::optional<QString> dv_propertyText(const QObject *object, const char *property);
void dv_replacePropertyText(QObject *object, const char *property, const QString &text,
                            const QString &newText);

// Whether it has a text property of that name that can be written.
bool dv_hasTextProperty(const QObject *object, const char *property);
