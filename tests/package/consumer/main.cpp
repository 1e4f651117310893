// A host application that knows nothing but what is installed. It says what it serves from the folder
// of packaged strings that it is given; or, with a second argument, which libraries it has loaded once
// a start has asked the network.
#include <Dorvane/Dorvane.h>

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

static void start(const QString &locale)
{
    // Nobody listens on this port: what is served comes from the packaged strings.
    const QString nobody = QStringLiteral("https://127.0.0.1:1");
    Dorvane::startWithProjectId(
        QStringLiteral("consumer"),
        {{QStringLiteral("mode"), QStringLiteral("DVOTAServing")},
         {QStringLiteral("otaKey"), QStringLiteral("MDEyMzQ1Njc4OWFiY2RlZg==")},
         {QStringLiteral("forceLocale"), locale},
         {QStringLiteral("analytics"), false},
         {QStringLiteral("servers"),
          QVariantMap{{QStringLiteral("delivery"), nobody}, {QStringLiteral("deliveryCdn"), nobody}}}});
}

static void printTexts(QTextStream &out)
{
    start(QStringLiteral("fr"));
    out << Dorvane::locale().identifier() << '\n'
        << QCoreApplication::translate("Consumer", "hello") << '\n'
        << DVBundle::mainBundle().localizedStringForKey(QStringLiteral("bye")) << '\n';
}

static void printLoadedLibraries(QTextStream &out)
{
    start(QStringLiteral("de")); // not packaged: the start call asks the server
    QFile maps(QStringLiteral("/proc/self/maps"));
    if (!maps.open(QIODevice::ReadOnly))
        return;
    const QList<QByteArray> lines = maps.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.contains(".so"))
            out << line.mid(line.indexOf('/')) << '\n';
    }
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("consumer"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));
    Dorvane::setMainBundle(DVBundle(QString::fromLocal8Bit(argv[1])));

    QTextStream out(stdout);
    if (argc > 2)
        printLoadedLibraries(out);
    else
        printTexts(out);
    return 0;
}
