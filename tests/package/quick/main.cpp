// A QML host application that knows nothing but what is installed: it prints what its QML sees.
#include <Dorvane/Dorvane.h>

#include <QCoreApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTextStream>

#include <memory>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));
    Dorvane::setMainBundle(DVBundle(QString::fromLocal8Bit(argv[argc - 1])));
    const QString nobody = QStringLiteral("http://127.0.0.1:1");
    Dorvane::startWithProjectId(
        QStringLiteral("consumer"),
        {{QStringLiteral("mode"), QStringLiteral("DVOTAServing")},
         {QStringLiteral("otaKey"), QStringLiteral("MDEyMzQ1Njc4OWFiY2RlZg==")},
         {QStringLiteral("forceLocale"), QStringLiteral("fr")},
         {QStringLiteral("analytics"), false},
         {QStringLiteral("servers"),
          QVariantMap{{QStringLiteral("delivery"), nobody}, {QStringLiteral("deliveryCdn"), nobody}}}});

    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQml\n"
                      "import Dorvane\n"
                      "QtObject { property string seen: Dorvane.locale + '\\n' + qsTr('hello') }",
                      QUrl());
    const std::unique_ptr<QObject> object(component.create());
    QTextStream(stdout) << (object ? object->property("seen").toString() : component.errorString()) << '\n';
    return 0;
}
