// The QML module "Dorvane": two plugins that are linked in. The file "qmldir" that names them is a
// resource of the library, in a folder where every engine looks.
#pragma once

#include <QQmlEngineExtensionPlugin>
#include <QQmlExtensionPlugin>

// Registers the module's types, once.
class DVQuickTypes : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    void registerTypes(const char *uri) override;
};

// Attaches each engine that imports the module. A plugin of its own because of a module's only plugin, when
// it is linked in, Qt (6.4) remembers that its types are registered and forgets every engine but the first.
class DVQuickEngines : public QQmlEngineExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlEngineExtensionInterface_iid)

public:
    void initializeEngine(QQmlEngine *engine, const char *uri) override;
};
