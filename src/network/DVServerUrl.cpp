#include "DVServerUrl.h"

#include "DVHosts.h"
#include "DVSecrets.h"

#include <QHostAddress>
#include <QUrl>

#include <array>
#include <atomic>
#include <mutex>

int dorvaneEnvironment = 0;

namespace {

constexpr std::array<QLatin1StringView, 4> keys = {QLatin1StringView("api"), QLatin1StringView("sso"),
                                                   QLatin1StringView("delivery"),
                                                   QLatin1StringView("deliveryCdn")};

struct Replacements
{
    std::mutex mutex;
    std::array<QString, 4> urls; // by server; null: the deployment's
};

Replacements &replacements()
{
    static auto *shared = new Replacements; // never destroyed: threads may outlive static objects
    return *shared;
}

int currentEnvironment()
{
    return std::atomic_ref(dorvaneEnvironment).load(std::memory_order_relaxed);
}

bool isLoopback(const QString &host)
{
    return host == u"localhost" || QHostAddress(host).isLoopback();
}

bool isUsableBase(const QUrl &url)
{
    if (!url.isValid() || url.host().isEmpty() || url.hasQuery() || url.hasFragment() ||
        !url.userInfo().isEmpty())
        return false;
    return url.scheme() == u"https" || (url.scheme() == u"http" && isLoopback(url.host()));
}

QString withoutTrailingSlash(QString url)
{
    while (url.endsWith(u'/'))
        url.chop(1);
    return url;
}

// For a log. All before the last "@" goes: a password that is not percent-encoded holds anything, and then
// the text is no URL of which its parts could be asked.
QString withoutUserInfo(const QString &text)
{
    const qsizetype at = text.lastIndexOf(u'@');
    const qsizetype slashes = text.indexOf(u"//");
    if (at < 0)
        return DVSecrets::cleanText(text);
    const QString scheme = text.left(slashes < 0 || slashes > at ? 0 : slashes + 2);
    return DVSecrets::cleanText(scheme % DVSecrets::redacted % text.mid(at));
}

QString deploymentUrl(int server, int environment)
{
    const char *const *const hosts[] = {DVHosts::api, DVHosts::sso, DVHosts::delivery, DVHosts::deliveryCdn};
    const QString url = u"https://" % QString::fromUtf8(hosts[server][environment]);
    return server == DVServerDeliveryCdn ? QString(url % u"/projects") : url;
}

} // namespace

void DVServerUrl::setEnvironment(int environment)
{
    std::atomic_ref(dorvaneEnvironment).store(environment, std::memory_order_relaxed);
}

QString DVServerUrl::setServers(const QVariantMap &servers)
{
    std::array<QString, 4> urls;
    for (size_t server = 0; server < keys.size(); ++server) {
        const auto entry = servers.constFind(keys[server]);
        if (entry == servers.cend())
            continue;
        const bool isText = entry->metaType() == QMetaType::fromType<QString>();
        const QString text = entry->toString();
        const QUrl url(text, QUrl::StrictMode);
        if (!isText || !isUsableBase(url))
            return text.isNull() ? QStringLiteral("") : withoutUserInfo(text);
        urls[server] = withoutTrailingSlash(url.toString(QUrl::FullyEncoded));
    }
    const std::lock_guard lock(replacements().mutex);
    replacements().urls = urls;
    return {};
}

QString DVServerUrl::baseUrlForServer(int server)
{
    const int environment = currentEnvironment();
    if (environment != 0 && environment != 1)
        return {};
    if (server == DVServerNone)
        return QStringLiteral("");
    if (server < DVServerApi || server > DVServerDeliveryCdn)
        return {};
    const std::lock_guard lock(replacements().mutex);
    const QString &replacement = replacements().urls[size_t(server)];
    return replacement.isNull() ? deploymentUrl(server, environment) : replacement;
}
