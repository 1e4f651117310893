// New texts for Qt Quick, with bindings left alive.
#pragma once

#include "DVView.h"

class QObject;

// Replaces the text of a property of an item, a window or an action, where it and what it comes from show
// `text` still.
void dv_quickReplaceText(QObject &object, const char *property, const DVViewText &text,
                         const DVViewText &newText);
