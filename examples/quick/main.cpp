// Window Garden in QML. Everything that makes its translations arrive over the air is in this file.
#include "Deployment.h"
#include "Garden.h"
#include "GardenFont.h"
#include "PaintedPlant.h"
#include "QuickTour.h"

#include <Dorvane/DVQuick.h>
#include <Dorvane/Dorvane.h>

#ifdef WINDOWGARDEN_REVIEW
#include <QApplication>
#else
#include <QGuiApplication>
#endif
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>

namespace {

#ifdef WINDOWGARDEN_REVIEW // the build that translators get, linked with Dorvane::Review
using Application = QApplication;
const QString mode = QStringLiteral("DVInAppReview");
#else
using Application = QGuiApplication;
const QString mode = QStringLiteral("DVOTAServing");
#endif

void startTranslations()
{
    QVariantMap options = deploymentOptions();
    options.insert(QStringLiteral("mode"), mode);
    // The key of the demonstration project in examples/project; yours comes with your own project.
    options.insert(QStringLiteral("otaKey"), QStringLiteral("d2luZG93LWdhcmRlbi1kZW1vbnN0cmF0aW9uLWtleSE="));
    Dorvane::startWithProjectId(QStringLiteral("window-garden"), options);
}

void registerTypes()
{
    qmlRegisterType<PaintedPlant>("WindowGarden", 1, 0, "PaintedPlant");
    for (const QString &name : {QStringLiteral("Words"), QStringLiteral("Look")})
        qmlRegisterSingletonType(QUrl(u"qrc:/windowgarden/" + name + u".qml"), "WindowGarden", 1, 0,
                                 name.toLatin1().constData());
}

} // namespace

int main(int argc, char **argv)
{
    Application application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("windowgarden"));
    QGuiApplication::setApplicationVersion(QStringLiteral("1.0"));
    const PictureOrder pictures = PictureOrder::fromCommandLine();
    QGuiApplication::setFont(gardenFont(QGuiApplication::font()));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    registerTypes();

    startTranslations();
    Garden garden;
    QQmlApplicationEngine engine;
    DorvaneQuick::attach(&engine);
    engine.setInitialProperties({{QStringLiteral("garden"), QVariant::fromValue(&garden)}});
    engine.load(QUrl(QStringLiteral("qrc:/windowgarden/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;

    QuickTour toured(*qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst()));
    PictureTour tour(toured, pictures);
    tour.start();
    return QGuiApplication::exec();
}
