#include "DVHttpExchange.h"

#include "DVContentCoding.h"
#include "DVNameLookup.h"
#include "DVNetworkThread.h"
#include "DVRedirectRule.h"
#include "DVSecrets.h"

#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>

#include <algorithm>

namespace {

// A request body that can be sent once. The network stack sends a request again when the connection
// turns out to be dead, even after the server may have acted on it; refusing to start over
// makes that an error instead (RFC 9110, 9.2.2).
class BodySentOnce : public QIODevice
{
public:
    explicit BodySentOnce(const QByteArray &body)
        : m_body(body)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    qint64 size() const override { return m_body.size(); }
    bool atEnd() const override { return m_read == m_body.size(); }
    qint64 bytesAvailable() const override { return m_body.size() - m_read; }
    bool seek(qint64 position) override { return position == m_read && QIODevice::seek(position); }
    bool reset() override { return m_read == 0 && !m_body.isEmpty(); }

protected:
    qint64 readData(char *data, qint64 maximum) override
    {
        const qint64 count = qMin(maximum, m_body.size() - m_read);
        if (count == 0)
            return -1;
        std::copy_n(m_body.constData() + m_read, count, data);
        m_read += count;
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    const QByteArray m_body;
    qint64 m_read = 0;
};

DVError networkError(QNetworkReply::NetworkError code, const QString &description)
{
    return {QStringLiteral("dorvane.network"), int(code), description};
}

// What the network stack makes of a status is no error of the connection. Even when it is told to follow
// no redirects, it tries to rewind the body for one.
bool standsForStatus(QNetworkReply::NetworkError error, int status)
{
    using Reply = QNetworkReply;
    if (error == Reply::ContentReSendError)
        return DVRedirectRule::isRedirect(status);
    if (status < 400)
        return false;
    return error == Reply::ProxyAuthenticationRequiredError ||
           error == Reply::ProtocolInvalidOperationError ||
           (error >= Reply::ContentAccessDenied && error <= Reply::UnknownContentError) ||
           error >= Reply::InternalServerError;
}

// A connection that is reset in the body sometimes counts as the body's end in the network stack.
bool isCutShort(const DVHttpResponse &response)
{
    if (response.statusCode == 204 || response.statusCode == 304 ||
        !response.header("Transfer-Encoding").isNull())
        return false;
    bool announced = false;
    const qint64 length = response.header("Content-Length").toLongLong(&announced);
    return announced && response.body.size() < length;
}

bool isSigned(const DVHttpRequest &request)
{
    return request.isSigned || !request.request.rawHeader("Authorization").isEmpty();
}

// An idle connection that is dead may swallow a request, and then nobody knows whether it was carried out. A
// connection of its own costs a thread and a handshake, so only what changes somebody's work has one.
bool needsOwnConnection(const DVHttpRequest &request)
{
    return request.method != "GET" && (request.makeBody || isSigned(request));
}

// How much of an answer the network stack may read before it is asked for it; else a fast server would fill
// the memory before the size of its answer is noticed.
constexpr qint64 aheadOfUs = qint64(1) << 20; // bytes

QString originOf(const QUrl &url)
{
    return url.scheme() % u"://" % url.authority(QUrl::FullyEncoded).section(u'@', -1);
}

bool isCleanHeader(const QByteArray &text)
{
    return std::none_of(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

QNetworkRequest preparedRequest(const QNetworkRequest &request)
{
    QNetworkRequest prepared(request.url());
    const QList<QByteArray> names = request.rawHeaderList();
    for (const QByteArray &name : names) {
        if (isCleanHeader(name) && isCleanHeader(request.rawHeader(name)))
            prepared.setRawHeader(name, request.rawHeader(name));
    }
    // Set by hand, it turns off the automatic decoding, which has other limits than ours.
    if (!prepared.hasRawHeader("Accept-Encoding"))
        prepared.setRawHeader("Accept-Encoding", "gzip");
    prepared.setPriority(request.priority());
    prepared.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    prepared.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    prepared.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    prepared.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    prepared.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    return prepared;
}

// The host whose addresses are needed: the server's, or its proxy's. None for a URL that names none.
QString hostToFind(const QNetworkAccessManager &manager, const QUrl &url)
{
    const QList<QNetworkProxy> proxies = manager.proxyFactory()->queryProxy(QNetworkProxyQuery(url));
    if (!proxies.isEmpty() && !proxies.constFirst().hostName().isEmpty())
        return proxies.constFirst().hostName();
    return url.host(QUrl::FullyEncoded);
}

int millisecondsUntil(DVHttpExchange::Deadline deadline)
{
    using namespace std::chrono;
    const auto left = ceil<milliseconds>(deadline - steady_clock::now()).count();
    return int(std::clamp<qint64>(left, 0, std::numeric_limits<int>::max()));
}

} // namespace

DVHttpExchange::DVHttpExchange(DVNetworkContext &context, DVHttpRequest request, Finished finished)
    : QObject(&context.exchanges)
    , m_context(context)
    , m_ownManager(needsOwnConnection(request) ? dv_makeNetworkManager() : nullptr)
    , m_request(std::move(request))
    , m_finished(std::move(finished))
    , m_staysWithOrigin(m_request.method != "GET" || isSigned(m_request))
{
    for (QTimer *timer : {&m_inactivity, &m_deadline}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        connect(timer, &QTimer::timeout, this,
                [this] { fail(QNetworkReply::TimeoutError, QStringLiteral("The request timed out.")); });
    }
}

DVHttpExchange::~DVHttpExchange()
{
    dropReply();
}

void DVHttpExchange::start(Deadline deadline, int inactivityMs)
{
    m_deadline.start(millisecondsUntil(deadline));
    if (inactivityMs > 0)
        m_inactivity.setInterval(inactivityMs);
    if (const DVErrorOr error = makeBody())
        return finish(error);
    find();
}

void DVHttpExchange::cancelIfOf(const DVTransferLinkPtr &transfer)
{
    if (m_finished && transfer && m_request.transfer == transfer)
        finish(DVHttpTransport::canceled());
}

DVErrorOr DVHttpExchange::makeBody()
{
    if (m_request.transfer && m_request.transfer->isCancelled())
        return DVHttpTransport::canceled();
    return m_request.makeBody ? m_request.makeBody(&m_request.body) : DVErrorOr();
}

void DVHttpExchange::find()
{
    restartInactivity();
    // The network stack would also read files and resources.
    const QString scheme = m_request.request.url().scheme();
    if (scheme != u"https" && scheme != u"http")
        return fail(QNetworkReply::ProtocolUnknownError, u"Protocol \"" % scheme % u"\" is unknown");
    if (!DVRedirectRule::isAllowed(m_request.request.url()))
        return fail(QNetworkReply::ProtocolInvalidOperationError,
                    QStringLiteral("Plain HTTP is for this device only."));
    const QString host = hostToFind(m_context.manager, m_request.request.url());
    m_context.names.find(host, this, [this, host](bool found) {
        if (found && m_finished)
            send();
        else if (m_finished)
            fail(QNetworkReply::HostNotFoundError, u"Host " % host % u" not found");
    });
}

void DVHttpExchange::send()
{
    restartInactivity();
    m_response = {};
    const QNetworkRequest request = preparedRequest(m_request.request);
    QNetworkAccessManager &manager = m_ownManager ? *m_ownManager : m_context.manager;
    if (m_request.method == "GET") {
        m_reply = manager.get(request);
    } else {
        auto body = std::make_unique<BodySentOnce>(m_request.body);
        m_reply = m_request.method == "POST"
                      ? manager.post(request, body.get())
                      : manager.sendCustomRequest(request, m_request.method, body.get());
        body.release()->setParent(m_reply);
    }
    connectReply();
}

void DVHttpExchange::connectReply()
{
    // Said now it is lost: the request starts with the next turn of the event loop, or with the body's first
    // bytes.
    QMetaObject::invokeMethod(
        m_reply, [reply = m_reply.data()] { reply->setReadBufferSize(aheadOfUs); }, Qt::QueuedConnection);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &DVHttpExchange::readHeaders);
    connect(m_reply, &QNetworkReply::readyRead, this, &DVHttpExchange::readBody);
    connect(m_reply, &QNetworkReply::uploadProgress, this, [this](qint64 sent, qint64) {
        restartInactivity();
        m_reply->setReadBufferSize(aheadOfUs);
        m_sent = qMax(m_sent, sent);
        reportProgress();
    });
    connect(m_reply, &QNetworkReply::finished, this, &DVHttpExchange::replyFinished);
}

void DVHttpExchange::restartInactivity()
{
    if (m_inactivity.interval() > 0)
        m_inactivity.start();
}

int DVHttpExchange::statusCode() const
{
    return m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

void DVHttpExchange::readHeaders()
{
    restartInactivity();
    m_reply->setReadBufferSize(aheadOfUs);
    const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
    m_announced = length.isValid() && !DVRedirectRule::isRedirect(statusCode()) ? length.toLongLong() : -1;
    if (m_announced > m_request.maximumBodySize)
        fail(QNetworkReply::UnknownContentError, QStringLiteral("The answer is too large."));
}

void DVHttpExchange::readBody()
{
    restartInactivity();
    m_response.body += m_reply->readAll();
    reportProgress();
    if (m_response.body.size() > m_request.maximumBodySize)
        fail(QNetworkReply::UnknownContentError, QStringLiteral("The answer is too large."));
}

void DVHttpExchange::replyFinished()
{
    const QNetworkReply::NetworkError error = m_reply->error();
    const int status = statusCode();
    // The network stack would have sent the body again, which it may not: it says "Unknown error".
    if (error == QNetworkReply::ContentReSendError && status == 0)
        return fail(QNetworkReply::RemoteHostClosedError,
                    QStringLiteral("The connection was closed before an answer came."));
    if (error != QNetworkReply::NoError && !standsForStatus(error, status))
        return fail(error, m_reply->errorString());
    const QUrl target = m_reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (DVRedirectRule::isRedirect(status) && !target.isEmpty())
        return follow(m_request.request.url().resolved(target));
    readBody();
    if (!m_finished)
        return;
    m_response.statusCode = status;
    m_response.methodChanged = m_methodChanged;
    m_response.headers = m_reply->rawHeaderPairs();
    if (isCutShort(m_response))
        return fail(QNetworkReply::RemoteHostClosedError, QStringLiteral("The answer was cut short."));
    reportProgress(true);
    finish(dv_decodeContent(&m_response, m_request.maximumBodySize));
}

void DVHttpExchange::follow(const QUrl &target)
{
    const QUrl from = m_request.request.url();
    const int status = statusCode();
    if (++m_redirects > maximumRedirects)
        return fail(QNetworkReply::TooManyRedirectsError, QStringLiteral("Too many redirects."));
    if (const DVErrorOr error = errorOfRedirect(target))
        return finish(error);
    const bool keeps = DVRedirectRule::keepsMethod(m_request.method, status);
    QUrl clean = target;
    clean.setUserInfo({});
    m_request.request.setUrl(clean);
    if (!keeps) {
        m_methodChanged = true;
        m_request.method = "GET";
        m_request.body.clear();
        m_request.request.setRawHeader("Content-Type", {});
    }
    dropReply();
    find();
}

DVErrorOr DVHttpExchange::errorOfRedirect(const QUrl &target) const
{
    const QUrl from = m_request.request.url();
    if (!DVRedirectRule::mayFollow(from, target))
        return networkError(QNetworkReply::InsecureRedirectError,
                            QStringLiteral("The redirect is not secure."));
    if (m_staysWithOrigin && !DVRedirectRule::sameOrigin(from, target))
        return networkError(QNetworkReply::InsecureRedirectError,
                            u"The redirect from " % originOf(from) % u" to " % originOf(target) %
                                u" was not followed: a signed request, or one with a body, stays with "
                                u"its server.");
    return {};
}

// Of an answer without a known length, what has arrived so far.
void DVHttpExchange::reportProgress(bool last)
{
    if (!m_request.transfer)
        return;
    const qint64 received = m_response.body.size();
    const qint64 size = m_request.body.size();
    const qint64 answer = qMax(m_announced, size > 0 ? received : qint64(-1));
    m_request.transfer->report(m_sent + received, answer < 0 ? answer : size + answer, last);
}

void DVHttpExchange::fail(QNetworkReply::NetworkError code, const QString &description)
{
    // Qt's texts name the URL.
    finish(networkError(code, description.isEmpty() ? QStringLiteral("The request failed.")
                                                    : DVSecrets::cleanText(description)));
}

void DVHttpExchange::finish(const DVErrorOr &error)
{
    m_inactivity.stop();
    m_deadline.stop();
    dropReply();
    deleteLater();
    if (const Finished finished = std::exchange(m_finished, nullptr))
        finished(error, error ? DVHttpResponse{} : std::move(m_response));
}

void DVHttpExchange::dropReply()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    m_reply->abort();
    m_reply->deleteLater();
    m_reply = nullptr;
}
