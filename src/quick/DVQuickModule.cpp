#include "DVQuickModule.h"

#include "DVQuickSingleton.h"

#include <Dorvane/DVQuick.h>

#include <QQmlEngine>
#include <QtPlugin>

void DVQuickTypes::registerTypes(const char *uri)
{
    qmlRegisterSingletonType<DVQuickSingleton>(
        uri, 1, 0, "Dorvane", [](QQmlEngine *engine, QJSEngine *) { return new DVQuickSingleton(*engine); });
}

void DVQuickEngines::initializeEngine(QQmlEngine *engine, const char *)
{
    DorvaneQuick::attach(engine);
}

Q_IMPORT_PLUGIN(DVQuickTypes)
Q_IMPORT_PLUGIN(DVQuickEngines)

void dorvane_quick_module()
{
    Q_INIT_RESOURCE(dorvanequick);
}

namespace {
// A resource in a static archive is not there unless somebody asks for it.
[[maybe_unused]] const bool resourceIsThere = (dorvane_quick_module(), true);
} // namespace
