// Secure connections: whom the transport trusts, and that it never leaves them for plain ones.
#include "DVFaultServer.h"
#include "DVHttpTransport.h"
#include "DVRows.h"

#include <QFile>
#include <QNetworkReply>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>

using Answer = DVFaultServer::Answer;

namespace {

const QByteArray ok = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok";

// Answers every request in the same way.
class SecureServer : public QSslServer
{
public:
    SecureServer(const QSslConfiguration &configuration, const QByteArray &answer, std::atomic<int> &requests)
    {
        setSslConfiguration(configuration);
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::pendingConnectionAvailable, this, [this, answer, &requests] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [socket, answer, &requests] {
                socket->readAll();
                ++requests;
                socket->write(answer);
                socket->disconnectFromHost();
            });
        });
    }
};

QByteArray redirectTo(const QString &url)
{
    return "HTTP/1.1 302 Found\r\nLocation: " + url.toUtf8() + "\r\nContent-Length: 0\r\n\r\n";
}

DVErrorOr fetch(const QString &url, DVHttpResponse *response = nullptr)
{
    DVHttpRequest request;
    request.request.setUrl(QUrl(url));
    return DVHttpTransport::sendAndWait(request, 10, response);
}

} // namespace

class tst_Tls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void otherCertificatesAreRefused_data();
    void otherCertificatesAreRefused();
    void trustedServerAnswers();
    void secureNeverBecomesPlain();
    void plainMayBecomeSecure();

private:
    // "https://HOST:PORT" of a new server with this answer.
    QString serve(const QByteArray &answer, const QByteArray &host = "localhost");
    void trustTheCertificate();

    QSslConfiguration m_configuration;
    QSslConfiguration m_default;
    QThread m_thread;
    std::unique_ptr<QObject, QScopedPointerDeleteLater> m_onThread;
    std::atomic<int> m_requests = 0;
};

void tst_Tls::initTestCase()
{
#if defined(DORVANE_THREAD_SANITIZER)
    QSKIP("The sanitizer ends a process that starts threads after it has forked.");
#endif
    const QTemporaryDir folder;
    const QString keyFile = folder.filePath(u"key"_qs);
    const QString certificateFile = folder.filePath(u"certificate"_qs);
    QProcess openssl; // not execute(): it draws its progress
    openssl.start(u"openssl"_qs,
                  u"req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost "
                  "-addext subjectAltName=DNS:localhost -keyout %1 -out %2"_qs.arg(keyFile, certificateFile)
                      .split(u' '));
    QVERIFY(openssl.waitForFinished());
    QCOMPARE(openssl.exitCode(), 0);
    QFile key(keyFile);
    QVERIFY(key.open(QIODevice::ReadOnly));
    m_configuration.setPrivateKey(QSslKey(&key, QSsl::Rsa));
    m_configuration.setLocalCertificateChain(QSslCertificate::fromPath(certificateFile));
    m_default = QSslConfiguration::defaultConfiguration();
    m_thread.start();
}

void tst_Tls::cleanupTestCase()
{
    m_thread.quit();
    m_thread.wait();
}

void tst_Tls::cleanup()
{
    DVHttpTransport::shutDown(1000);
    QSslConfiguration::setDefaultConfiguration(m_default);
    m_onThread.reset();
    m_requests = 0;
}

QString tst_Tls::serve(const QByteArray &answer, const QByteArray &host)
{
    m_onThread.reset(new QObject);
    m_onThread->moveToThread(&m_thread);
    quint16 port = 0;
    QMetaObject::invokeMethod(
        m_onThread.get(),
        [&] {
            auto *server = new SecureServer(m_configuration, answer, m_requests);
            server->setParent(m_onThread.get());
            port = server->serverPort();
        },
        Qt::BlockingQueuedConnection);
    return u"https://%1:%2"_qs.arg(QString::fromLatin1(host)).arg(port);
}

void tst_Tls::trustTheCertificate()
{
    QSslConfiguration trusting = m_default;
    trusting.setCaCertificates(m_configuration.localCertificateChain());
    QSslConfiguration::setDefaultConfiguration(trusting);
}

void tst_Tls::otherCertificatesAreRefused_data()
{
    const DVRows<bool, QByteArray> row("trusted", "host");
    row("of somebody unknown", false, "localhost");
    row("for another name", true, "127.0.0.1");
}

void tst_Tls::otherCertificatesAreRefused()
{
    QFETCH(bool, trusted);
    QFETCH(QByteArray, host);
    if (trusted)
        trustTheCertificate();
    const DVErrorOr error = fetch(serve(ok, host));
    QVERIFY(error);
    QCOMPARE(error->code, int(QNetworkReply::SslHandshakeFailedError));
    QCOMPARE(m_requests.load(), 0);
}

void tst_Tls::trustedServerAnswers()
{
    trustTheCertificate();
    DVHttpResponse response;
    QVERIFY(!fetch(serve(ok), &response));
    QCOMPARE(response.body, QByteArray("ok"));
}

void tst_Tls::secureNeverBecomesPlain()
{
    DVFaultServer plain;
    trustTheCertificate();
    const DVErrorOr error = fetch(serve(redirectTo(plain.url(u"/strings.gz"_qs))));
    QVERIFY(error);
    QCOMPARE(error->code, int(QNetworkReply::InsecureRedirectError));
    QCOMPARE(m_requests.load(), 1);
    QCOMPARE(plain.requests().size(), 0);
}

void tst_Tls::plainMayBecomeSecure()
{
    DVFaultServer plain;
    trustTheCertificate();
    const QString secure = serve(ok);
    plain.enqueue(Answer::of(302, {}, {{"Location", secure.toUtf8()}}));
    DVHttpResponse response;
    QVERIFY(!fetch(plain.url(), &response));
    QCOMPARE(response.body, QByteArray("ok"));
}

QTEST_GUILESS_MAIN(tst_Tls)
#include "tst_tls.moc"
