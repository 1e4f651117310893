// Window Garden. Everything that makes its translations arrive over the air is in this file.
#include "Deployment.h"
#include "Look.h"
#include "MainWindow.h"
#include "WidgetTour.h"

#include <Dorvane/Dorvane.h>

#include <QApplication>

namespace {

#ifdef WINDOWGARDEN_REVIEW // the build that translators get, linked with Dorvane::Review
const QString mode = QStringLiteral("DVInAppReview");
#else
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

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("windowgarden"));
    QApplication::setApplicationVersion(QStringLiteral("1.0"));
    const PictureOrder pictures = PictureOrder::fromCommandLine();

    startTranslations();
    applyLook(application);
    MainWindow window;
    window.show();

    WidgetTour toured(window);
    PictureTour tour(toured, pictures);
    tour.start();
    return QApplication::exec();
}
