// Re-translation of QML engines by a guest: what the user was at stays.
#pragma once

class QObject;

// The engine of an object re-evaluates its qsTr(), qsTranslate() and qsTrId() bindings; once in a turn of the
// event loop, later calls in it do nothing. Lists stay where they were scrolled to, and at their current
// entry; what was typed into a field that is bound to a translation stays typed.
void dv_quickRetranslate(const QObject &object);
