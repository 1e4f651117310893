// An application that only links the library: "import Dorvane" works, with no import path set.
#include <QCoreApplication>
#include <QQmlComponent>
#include <QQmlEngine>

#include <cstdio>
#include <memory>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQml\nimport Dorvane\n"
                      "QtObject { property string text: Dorvane.translate('as %1', 'it is') }",
                      QUrl());
    const std::unique_ptr<QObject> object(component.create());
    if (!object)
        std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
    return object && object->property("text").toString() == QLatin1StringView("as it is") ? 0 : 1;
}
