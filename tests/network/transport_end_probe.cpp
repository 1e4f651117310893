// A host application that ends while requests are under way: transport_end_probe URL HOW.
// With HOW "names", the name server that never answers is also here, on 127.0.0.9.
#include "DVHttpTransport.h"

#include <QCoreApplication>
#include <QTimer>
#include <QUdpSocket>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

void begin(const QString &url)
{
    DVHttpRequest request;
    request.request.setUrl(QUrl(url));
    // After the end nothing may complete.
    DVHttpTransport::send(request, {}, [](const DVErrorOr &, const DVHttpResponse &) { std::abort(); });
}

void say()
{
    std::puts("ending");
    std::fflush(stdout);
}

void runApplication(int &argc, char **argv, const QString &url, const QString &how)
{
    QCoreApplication application(argc, argv);
    QUdpSocket nameServer;
    if (how == u"names" && !nameServer.bind(QHostAddress(u"127.0.0.9"_qs), 53))
        std::exit(2);
    for (const char *path : {"/silent", "/drip", "/silent", "/drip"})
        begin(url + QString::fromLatin1(path));
    if (how == u"stuck") {
        DVHttpRequest request;
        request.request.setUrl(QUrl(QString(url + u"/answer"_qs)));
        DVHttpTransport::send(
            request,
            [](const DVErrorOr &, const DVHttpResponse &) {
                std::this_thread::sleep_for(std::chrono::seconds(5));
            },
            [](const DVErrorOr &, const DVHttpResponse &) { std::abort(); });
    }
    // To a server that speaks no TLS: the handshake hangs.
    begin(QString(url).replace(u"http:"_qs, u"https:"_qs));
    QTimer::singleShot(150, &application, [&application, how] {
        say();
        if (how == u"exit")
            std::exit(0);
        if (how == u"thread")
            std::thread([] { std::exit(0); }).join();
        application.quit();
    });
    application.exec();
}

} // namespace

int main(int argc, char **argv)
{
    const QString url = QString::fromLocal8Bit(argv[1]);
    const QString how = QString::fromLocal8Bit(argv[2]);
    runApplication(argc, argv, url, how);
    if (how == u"twice")
        runApplication(argc, argv, url, how);
    if (how == u"after") {
        begin(url);
        DVHttpRequest request;
        request.request.setUrl(QUrl(url));
        if (!DVHttpTransport::sendAndWait(request, 5, nullptr))
            return 1;
    }
    return 0;
}
