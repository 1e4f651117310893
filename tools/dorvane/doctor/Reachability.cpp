#include "Reachability.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QHostAddress>
#include <QNetworkProxyFactory>
#include <QSslCipher>
#include <QSslSocket>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include <netdb.h>
#include <sys/socket.h>

namespace {

constexpr qint64 longestHead = 64 * 1024;
constexpr qint64 daysBeforeExpiry = 14;

struct Lookup
{
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    int problem = 0;
    QStringList addresses;
};

QStringList textOf(const addrinfo *addresses)
{
    QStringList list;
    for (; addresses; addresses = addresses->ai_next)
        list += QHostAddress(addresses->ai_addr).toString();
    return list;
}

void resolve(const std::shared_ptr<Lookup> &lookup, const QByteArray &host)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *addresses = nullptr;
    const int problem = ::getaddrinfo(host.constData(), nullptr, &hints, &addresses);
    const std::lock_guard lock(lookup->mutex);
    lookup->problem = problem;
    if (problem == 0) {
        lookup->addresses = textOf(addresses);
        ::freeaddrinfo(addresses);
    }
    lookup->done = true;
    lookup->changed.notify_all();
}

// A name server that never answers would hold the caller: the thread that asks is left behind.
bool checkName(const QString &host, int timeoutMs, const StepReport &report)
{
    const auto lookup = std::make_shared<Lookup>();
    std::thread(resolve, lookup, QUrl::toAce(host).isEmpty() ? host.toUtf8() : QUrl::toAce(host)).detach();
    std::unique_lock lock(lookup->mutex);
    const bool answered = lookup->changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                                   [&lookup] { return lookup->done; });
    Step step{QStringLiteral("name"), Verdict::Ok, {}, {}};
    if (answered && lookup->problem == 0) {
        step.seen = QString(host % u" is " % lookup->addresses.mid(0, 4).join(QStringLiteral(", ")));
    } else {
        step.verdict = Verdict::Fail;
        step.seen = answered ? QString(host % u": " % QString::fromLocal8Bit(::gai_strerror(lookup->problem)))
                             : QStringLiteral("no answer about %1 in %2 ms").arg(host).arg(timeoutMs);
        step.advice = QStringLiteral("look for a slip in the name, and at the name server of this machine");
    }
    report(step);
    return step.verdict == Verdict::Ok;
}

bool isRedirect(const QByteArray &statusLine)
{
    const int status = statusLine.mid(9, 3).toInt();
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

// Below 0: it is not there yet. A line may also end in a line feed alone (RFC 9112, 2.2).
qsizetype endOfHead(const QByteArray &bytes)
{
    const qsizetype end = bytes.indexOf("\r\n\r\n");
    return end >= 0 ? end : bytes.indexOf("\n\n");
}

class Talk
{
public:
    Talk(const QUrl &url, int timeoutMs, StepReport report)
        : m_url(url)
        , m_timeoutMs(timeoutMs)
        , m_report(std::move(report))
    {}

    bool run()
    {
        if (!connectTo())
            return false;
        if (m_url.scheme() == u"https" && !encrypt())
            return false;
        return readAnswer();
    }

private:
    void tell(const QString &name, Verdict verdict, const QString &seen, const QString &advice = {})
    {
        m_report({name, verdict, seen, advice});
    }

    bool connectTo()
    {
        const int port = m_url.port(m_url.scheme() == u"https" ? 443 : 80);
        m_socket.connectToHost(m_url.host(), quint16(port));
        if (m_socket.waitForConnected(m_timeoutMs)) {
            tell(QStringLiteral("connection"), Verdict::Ok,
                 QStringLiteral("connected to %1 port %2")
                     .arg(m_socket.peerAddress().toString())
                     .arg(m_socket.peerPort()));
            return true;
        }
        tell(QStringLiteral("connection"), Verdict::Fail,
             QStringLiteral("%1 port %2: %3").arg(m_url.host()).arg(port).arg(m_socket.errorString()),
             QStringLiteral("see whether the server runs and listens on this port, and what firewalls say"));
        return false;
    }

    bool encrypt()
    {
        m_socket.startClientEncryption();
        const bool encrypted = m_socket.waitForEncrypted(m_timeoutMs);
        if (!encrypted) {
            QStringList errors;
            const auto found = m_socket.sslHandshakeErrors();
            for (const QSslError &error : found)
                errors += error.errorString();
            tell(QStringLiteral("tls"), Verdict::Fail,
                 errors.isEmpty() ? m_socket.errorString() : errors.join(QStringLiteral("; ")),
                 errors.isEmpty()
                     ? QStringLiteral("see whether the server speaks TLS on this port")
                     : QStringLiteral("devices check the certificate: it has to be valid today, for this "
                                      "name, and come with its chain from an authority that they trust"));
            return false;
        }
        const QDateTime until = m_socket.peerCertificate().expiryDate();
        const qint64 days = QDateTime::currentDateTimeUtc().daysTo(until);
        const bool isShort = days < daysBeforeExpiry;
        tell(QStringLiteral("tls"), isShort ? Verdict::Warn : Verdict::Ok,
             QStringLiteral("%1, certificate good for %2 days")
                 .arg(m_socket.sessionCipher().protocolString())
                 .arg(days),
             isShort ? QStringLiteral("renew the certificate") : QString());
        return true;
    }

    bool readAnswer()
    {
        const QByteArray path = m_url.path(QUrl::FullyEncoded).toLatin1();
        m_socket.write("GET " + path +
                       " HTTP/1.1\r\nHost: " + m_url.authority(QUrl::FullyEncoded).toLatin1() +
                       "\r\nAccept-Encoding: gzip\r\nConnection: close\r\n\r\n");
        const QDeadlineTimer deadline(m_timeoutMs);
        QByteArray head;
        while (endOfHead(head) < 0 && head.size() < longestHead && !deadline.hasExpired() &&
               (m_socket.bytesAvailable() > 0 || m_socket.waitForReadyRead(int(deadline.remainingTime()))))
            head += m_socket.read(longestHead);
        const QByteArrayView protocol("HTTP/1.");
        const bool isHttp = !head.isEmpty() && protocol.startsWith(head.left(protocol.size()));
        if (const qsizetype end = endOfHead(head); isHttp && end >= 0)
            return readHead(head.left(end).split('\n'));
        if (isHttp)
            tellUnfinished(head, deadline.hasExpired());
        else if (head.isEmpty())
            tell(QStringLiteral("answer"), Verdict::Fail,
                 deadline.hasExpired() ? QStringLiteral("nothing in %1 ms").arg(m_timeoutMs)
                                       : QStringLiteral("the server closed the connection"),
                 QStringLiteral("see the server's log; devices wait no longer than their time limit"));
        else
            tell(QStringLiteral("answer"), Verdict::Fail, QStringLiteral("what answers does not speak HTTP"),
                 m_url.scheme() == u"http" ? QStringLiteral("try https, or another port")
                                           : QStringLiteral("try another port"));
        return false;
    }

    void tellUnfinished(const QByteArray &head, bool timeIsUp)
    {
        if (head.size() >= longestHead)
            return tell(QStringLiteral("answer"), Verdict::Fail,
                        QStringLiteral("a header of more than %1 KiB").arg(longestHead >> 10),
                        QStringLiteral("send less with each answer"));
        const QString seen = QStringLiteral("%1 bytes of a header and not its end").arg(head.size());
        tell(QStringLiteral("answer"), Verdict::Fail,
             timeIsUp ? QString(seen % QStringLiteral(" in %1 ms").arg(m_timeoutMs))
                      : QString(seen % u", then the server closed the connection"),
             QStringLiteral("see the server's log; devices wait no longer than their time limit"));
    }

    bool readHead(const QByteArrayList &lines)
    {
        const QString status = QString::fromLatin1(lines.constFirst().trimmed()).left(80);
        if (!isRedirect(lines.constFirst())) {
            tell(QStringLiteral("answer"), Verdict::Ok, status);
            return true;
        }
        QUrl target;
        for (const QByteArray &line : lines)
            if (line.toLower().startsWith("location:"))
                target = m_url.resolved(QUrl::fromEncoded(line.mid(9).trimmed()));
        tell(QStringLiteral("answer"), Verdict::Warn,
             QStringLiteral("%1, to %2").arg(status, target.toDisplayString(QUrl::RemoveUserInfo).left(200)),
             QStringLiteral("each request of each device takes this detour; give applications the address "
                            "that it leads to"));
        return true;
    }

    const QUrl m_url;
    const int m_timeoutMs;
    const StepReport m_report;
    QSslSocket m_socket;
};

} // namespace

bool checkReachability(const QUrl &url, int timeoutMs, const StepReport &report)
{
    const QList<QNetworkProxy> proxies = QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(url));
    if (!proxies.isEmpty() && !proxies.constFirst().hostName().isEmpty()) {
        report({QStringLiteral("name"),
                Verdict::Ok,
                QStringLiteral("left to the proxy %1").arg(proxies.constFirst().hostName()),
                {}});
        return true;
    }
    return checkName(url.host(), timeoutMs, report) && Talk(url, timeoutMs, report).run();
}
