// A host application for translators that knows nothing but what is installed.
#include <Dorvane/DVKeychainSystem.h>
#include <Dorvane/Dorvane.h>

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    DorvaneKeychain::useSystem();
    Dorvane::startWithProjectId(QStringLiteral("consumer"),
                                {{QStringLiteral("mode"), QStringLiteral("DVInAppReview")},
                                 {QStringLiteral("logging"), QStringLiteral("off")},
                                 {QStringLiteral("analytics"), false}});
    std::puts("started");
    return 0;
}
