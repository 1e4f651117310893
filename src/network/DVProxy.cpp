#include <Dorvane/DVProxy.h>

#include "DVHttpTransport.h"
#include "DVProxySigning.h"

#include "DVMainQueue.h"

#include <QMetaMethod>
#include <QObject>

#include <mutex>
#include <utility>

// What the copies of a completion share; the last of them answers where none did.
class DVProxyAnswer
{
public:
    explicit DVProxyAnswer(DVProxyToken completion)
        : m_completion(std::move(completion))
    {}
    ~DVProxyAnswer()
    {
        // Not from inside a destructor of the proxy's.
        if (m_completion)
            DVMainQueue::post([completion = m_completion] { completion(dv_noTokenFound(), {}); });
    }
    Q_DISABLE_COPY_MOVE(DVProxyAnswer)

    void give(const DVErrorOr &error, const QString &accessToken)
    {
        std::unique_lock lock(m_mutex);
        const DVProxyToken completion = std::exchange(m_completion, {});
        lock.unlock();
        if (!completion)
            return;
        if (DVMainQueue::isMainThread())
            completion(error, accessToken);
        else
            DVMainQueue::post([=] { completion(error, accessToken); });
    }

private:
    std::mutex m_mutex;
    DVProxyToken m_completion;
};

DVProxyCompletion::DVProxyCompletion() = default;
DVProxyCompletion::DVProxyCompletion(std::shared_ptr<DVProxyAnswer> answer)
    : m_answer(std::move(answer))
{}
DVProxyCompletion::DVProxyCompletion(const DVProxyCompletion &) = default;
DVProxyCompletion &DVProxyCompletion::operator=(const DVProxyCompletion &) = default;
DVProxyCompletion::~DVProxyCompletion() = default;

void DVProxyCompletion::operator()(const DVErrorOr &error, const QString &accessToken) const
{
    if (m_answer)
        m_answer->give(error, accessToken);
}

DVProxyRequest::DVProxyRequest() = default;
DVProxyRequest::DVProxyRequest(std::shared_ptr<DVHttpRequest> request)
    : m_request(std::move(request))
{}
DVProxyRequest::DVProxyRequest(const DVProxyRequest &) = default;
DVProxyRequest &DVProxyRequest::operator=(const DVProxyRequest &) = default;
DVProxyRequest::~DVProxyRequest() = default;

QByteArray DVProxyRequest::method() const
{
    return m_request ? m_request->method : QByteArray();
}

QUrl DVProxyRequest::url() const
{
    return m_request ? m_request->request.url() : QUrl();
}

QByteArray DVProxyRequest::body() const
{
    return m_request ? m_request->body : QByteArray();
}

QByteArray DVProxyRequest::rawHeader(const QByteArray &name) const
{
    return m_request ? m_request->request.rawHeader(name) : QByteArray();
}

void DVProxyRequest::setRawHeader(const QByteArray &name, const QByteArray &value)
{
    const auto breaksLine = [](const QByteArray &text) { return text.contains('\r') || text.contains('\n'); };
    if (m_request && !breaksLine(name) && !breaksLine(value))
        m_request->request.setRawHeader(name, value);
}

bool dv_isDemonstrationProxy(const QObject *proxy)
{
    if (!proxy)
        return false;
    const QByteArray name = proxy->metaObject()->className();
    return name.mid(name.lastIndexOf(':') + 1) == "DVAppetize";
}

void dv_askProxy(QObject *proxy, const std::shared_ptr<DVHttpRequest> &request, DVProxyToken completion,
                 int timeoutMs)
{
    const auto answer = std::make_shared<DVProxyAnswer>(std::move(completion));
    const QMetaObject *meta = proxy ? proxy->metaObject() : nullptr;
    const int index =
        meta ? meta->indexOfMethod("getTokenFromProxyForRequest(DVProxyRequest,DVProxyCompletion)") : -1;
    if (index < 0)
        return answer->give(dv_noTokenFound(), {});
    // The timer holds the answer weakly: the proxy's last copy must be the last.
    DVMainQueue::postDelayed(timeoutMs, [waiting = std::weak_ptr(answer)] {
        if (const auto late = waiting.lock())
            late->give(dv_noTokenFound(), {});
    });
    meta->method(index).invoke(proxy, Qt::DirectConnection, Q_ARG(DVProxyRequest, DVProxyRequest(request)),
                               Q_ARG(DVProxyCompletion, DVProxyCompletion(answer)));
}

DVError dv_noTokenFound()
{
    return {QStringLiteral("dorvane.SDK"), 401, QStringLiteral("No token found")};
}
