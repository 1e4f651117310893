// DorvaneQuick: translations that follow publications in QML. Link Dorvane::Quick for it.
#pragma once

#include <QtGlobal>

#if defined(DORVANE_STATIC)
#define DORVANE_QUICK_EXPORT
#elif defined(DORVANE_QUICK_BUILDING)
#define DORVANE_QUICK_EXPORT Q_DECL_EXPORT
#else
#define DORVANE_QUICK_EXPORT Q_DECL_IMPORT
#endif

QT_BEGIN_NAMESPACE
class QQmlEngine;
QT_END_NAMESPACE

// An engine that imports the QML module "Dorvane" is attached already.
class DORVANE_QUICK_EXPORT DorvaneQuick
{
public:
    DorvaneQuick() = delete;

    // From now on the engine re-evaluates its qsTr(), qsTranslate() and qsTrId() bindings each time the
    // texts that the library serves have changed: once for each publication or change of locale with
    // other texts, when QEvent::LanguageChange reaches the application object, and never after a
    // refresh that brought nothing new. Texts that JavaScript has assigned stay as they are.
    //
    // Attach each engine of the application, before or after the start of the library, on the engine's
    // own thread. The caller keeps the engine and may destroy it at any time. Attaching an engine
    // again, or null, or one after the end of the application object changes nothing.
    static void attach(QQmlEngine *engine);
};

// Keeps the QML module in programs whose code names nothing of this library; link options name it.
extern "C" DORVANE_QUICK_EXPORT void dorvane_quick_module();
