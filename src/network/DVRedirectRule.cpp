#include "DVRedirectRule.h"

#include <QHostAddress>
#include <QUrl>

bool DVRedirectRule::isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool DVRedirectRule::sameOrigin(const QUrl &a, const QUrl &b)
{
    const int standard = a.scheme() == u"https" ? 443 : 80;
    return a.scheme() == b.scheme() && a.host() == b.host() && a.port(standard) == b.port(standard);
}

bool DVRedirectRule::isAllowed(const QUrl &url)
{
    if (url.scheme() == u"https")
        return true;
    return url.scheme() == u"http" && (url.host() == u"localhost" || QHostAddress(url.host()).isLoopback());
}

bool DVRedirectRule::mayFollow(const QUrl &from, const QUrl &to)
{
    return isAllowed(to) && (to.scheme() == u"https" || from.scheme() == u"http");
}

bool DVRedirectRule::keepsMethod(const QByteArray &method, int status)
{
    if (method == "GET" || method == "HEAD")
        return true;
    return status != 303 && (method != "POST" || status == 307 || status == 308);
}
