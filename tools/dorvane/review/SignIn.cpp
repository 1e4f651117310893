#include "SignIn.h"

#include <DVRedirectRule.h>
#include <DVSecrets.h>
#include <DVSession.h>

#include <QNetworkReply>
#include <QUrlQuery>

namespace {

constexpr int maximumRequests = 30;
constexpr qint64 maximumPage = qint64(4) << 20; // bytes
constexpr int patienceMs = 30000;

} // namespace

SignIn::SignIn(QString user, QString password, Done done, QObject *parent)
    : QObject(parent)
    , m_user(std::move(user))
    , m_password(std::move(password))
    , m_done(std::move(done))
{
    DVSecrets::remember(m_password);
    m_network.setTransferTimeout(patienceMs);
}

void SignIn::open(const QUrl &page)
{
    send(page, "GET", {});
}

void SignIn::send(const QUrl &url, const QByteArray &method, const QByteArray &body)
{
    if (++m_requests > maximumRequests)
        return finish(QStringLiteral("the sign-in leads from page to page without an end"));
    const bool isAllowed =
        m_page.isEmpty() ? DVRedirectRule::isAllowed(url) : DVRedirectRule::mayFollow(m_page, url);
    if (!isAllowed)
        return finish(
            QStringLiteral("the sign-in leads to %1, where a password could be read on the way: only "
                           "https may follow, or http on this device behind such a page")
                .arg(DVSecrets::cleanUrl(url.adjusted(QUrl::RemoveQuery))));
    m_page = url;
    m_method = method;
    m_body = body;
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (method == "POST")
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          QStringLiteral("application/x-www-form-urlencoded"));
    QNetworkReply *reply = m_network.sendCustomRequest(request, method, body);
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64) {
        if (received > maximumPage)
            reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        answered(reply);
    });
}

void SignIn::answered(QNetworkReply *reply)
{
    constexpr int temporaryRedirect = 307;
    constexpr int permanentRedirect = 308;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 0)
        return finish(reply->errorString());
    const QByteArray location = reply->rawHeader("Location");
    if (status / 100 == 3 && !location.isEmpty()) {
        const QUrl target = reply->url().resolved(QUrl(QString::fromUtf8(location)));
        return redirected(target, status == temporaryRedirect || status == permanentRedirect);
    }
    const QByteArray page = reply->readAll();
    // A page that refuses a password may come with an error status, and a form.
    if (status >= 400 && !SignInForm::of(page, reply->url()))
        return finish(QStringLiteral("%1 answered with status %2").arg(reply->url().path()).arg(status));
    shown(page, reply->url());
}

void SignIn::redirected(const QUrl &target, bool keepsMethod)
{
    if (target.toString().startsWith(DVSession::redirectScheme))
        return arrived(target);
    if (target.scheme() != u"http" && target.scheme() != u"https")
        return finish(QStringLiteral("the sign-in leads to another program: %1").arg(target.scheme()));
    if (keepsMethod)
        send(target, m_method, m_body);
    else
        send(target, "GET", {});
}

void SignIn::arrived(const QUrl &target)
{
    const QUrlQuery query(target);
    const QString code = query.queryItemValue(QStringLiteral("code"), QUrl::FullyDecoded);
    const QString error = query.queryItemValue(QStringLiteral("error"), QUrl::FullyDecoded);
    if (code.isEmpty())
        finish(QStringLiteral("the sign-in ended without a code: %1").arg(error));
    else
        finish({}, code);
}

void SignIn::shown(const QByteArray &page, const QUrl &url)
{
    auto form = SignInForm::of(page, url);
    if (!form)
        return finish(QStringLiteral("the page %1 has no form to sign in with").arg(url.path()));
    if (form->asksForPassword() && std::exchange(m_passwordWasSent, true))
        return finish(QStringLiteral("the user or the password was not accepted"));
    if (form->asksForPassword() && form->method != "POST")
        return finish(
            QStringLiteral("the form of the page %1 would put the password into an address: it has to "
                           "have the method POST")
                .arg(url.path()));
    if (form->asksForPassword())
        form->fillIn(m_user, m_password);
    if (form->method == "POST")
        return send(form->action, form->method, form->encoded());
    QUrl target = form->action;
    target.setQuery(QString::fromLatin1(form->encoded()));
    send(target, form->method, {});
}

void SignIn::finish(const QString &problem, const QString &code)
{
    deleteLater();
    if (const auto done = std::exchange(m_done, {}))
        done(problem, code);
}
