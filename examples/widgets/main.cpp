// Window Garden. Everything that makes its translations arrive over the air is in this file.
#include "Look.h"
#include "MainWindow.h"
#include "PictureTour.h"

#include <Dorvane/Dorvane.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

namespace {

// What belongs to a deployment and not to the source: where the platform is, and a language other
// than the device's. Without the variables the library's own hosts and the device's language serve.
QVariantMap deploymentOptions()
{
    QVariantMap options;
    const QByteArray servers = qgetenv("DORVANE_EXAMPLE_SERVERS");
    if (!servers.isEmpty())
        options.insert(QStringLiteral("servers"), QJsonDocument::fromJson(servers).object().toVariantMap());
    const QString locale = qEnvironmentVariable("DORVANE_EXAMPLE_LOCALE");
    if (!locale.isEmpty())
        options.insert(QStringLiteral("forceLocale"), locale);
    return options;
}

void startTranslations()
{
    QVariantMap options = deploymentOptions();
    // Dates and digits follow the language of the texts.
    if (const QString locale = options.value(QStringLiteral("forceLocale")).toString(); !locale.isEmpty())
        QLocale::setDefault(QLocale(locale));

    options.insert(QStringLiteral("mode"), QStringLiteral("DVOTAServing"));
    // The key of the demonstration project in examples/project; yours comes with your own project.
    options.insert(QStringLiteral("otaKey"), QStringLiteral("d2luZG93LWdhcmRlbi1kZW1vbnN0cmF0aW9uLWtleSE="));
    Dorvane::startWithProjectId(QStringLiteral("window-garden"), options);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("windowgarden"));
    QApplication::setApplicationVersion(QStringLiteral("1.0"));

    QCommandLineParser arguments;
    const QCommandLineOption pictures(QStringLiteral("pictures"),
                                      QStringLiteral("Take pictures of all screens and quit."),
                                      QStringLiteral("folder"));
    const QCommandLineOption await(QStringLiteral("await-publication"),
                                   QStringLiteral("With --pictures: wait until new texts arrive."));
    arguments.addHelpOption();
    arguments.addOptions({pictures, await});
    arguments.process(application);

    startTranslations();
    applyLook(application);
    MainWindow window;
    window.show();

    PictureTour tour(window, arguments.value(pictures), arguments.isSet(await));
    if (arguments.isSet(pictures))
        tour.start();
    return QApplication::exec();
}
