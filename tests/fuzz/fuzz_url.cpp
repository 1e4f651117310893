// URLs: parameters are those of a plain split, and what is built of names and values is taken apart into
// the same; a server's base URL that is accepted is https, or http on loopback, and is accepted again.
// Input: a byte that chooses the part, then UTF-8 text.
#include "FuzzTarget.h"

#include <DVSecrets.h>
#include <DVServerUrl.h>
#include <DVUrlParameters.h>

#include <QStringList>
#include <QUrl>

namespace {

using Parameters = QHash<QString, QString>;

// One character at a time; what stands behind a second "=" does not count.
Parameters splitByTheBook(const QString &text)
{
    Parameters parameters;
    QString parts[2];
    qsizetype part = 0;
    for (const QChar c : QString(text + u'&')) {
        if (c == u'&') {
            if (part > 0)
                parameters.insert(parts[0], parts[1]);
            parts[0].clear();
            parts[1].clear();
            part = 0;
        } else if (c == u'=') {
            ++part;
        } else if (part < 2) {
            parts[part] += c;
        }
    }
    return parameters;
}

void checkParsing(const QString &text)
{
    const Parameters parameters = dv_getParametersFromString(text);
    FUZZ_CHECK(parameters == splitByTheBook(text));
    QStringList pairs;
    for (auto it = parameters.begin(); it != parameters.end(); ++it)
        pairs.append(QString(it.key() + u'=' + it.value()));
    FUZZ_CHECK(pairs.isEmpty() || dv_getParametersFromString(pairs.join(u'&')) == parameters);
}

void checkUrl(const QString &text)
{
    const QUrl url(text);
    const Parameters parameters = dv_getParameters(url);
    const QString encoded = url.toString(QUrl::FullyEncoded);
    FUZZ_CHECK(parameters.isEmpty() || encoded.contains(u'?') || encoded.contains(u'#'));
    if (url.hasQuery() && !url.query().contains(u'?'))
        FUZZ_CHECK(parameters == splitByTheBook(encoded.section(u'?', 1, 1)));
}

// Lines of names and values, percent-encoded into a query and into a fragment.
void checkBuilding(const QString &text)
{
    Parameters expected;
    QStringList pairs;
    const QStringList lines = QString::fromUtf8(text.toUtf8()).split(u'\n');
    for (qsizetype i = 0; i + 1 < lines.size(); i += 2) {
        expected.insert(lines[i], lines[i + 1]);
        pairs.append(QString::fromLatin1(QUrl::toPercentEncoding(lines[i]) + '=' +
                                         QUrl::toPercentEncoding(lines[i + 1])));
    }
    for (const char16_t separator : {u'?', u'#'}) {
        const QString address = u"https://example.org/path" % QChar(separator) % pairs.join(u'&');
        const Parameters found = dv_getParameters(QUrl(address, QUrl::StrictMode));
        FUZZ_CHECK(found.size() == expected.size());
        for (auto it = found.begin(); it != found.end(); ++it) {
            const QString name = QUrl::fromPercentEncoding(it.key().toLatin1());
            FUZZ_CHECK(expected.contains(name));
            FUZZ_CHECK(expected.value(name) == QUrl::fromPercentEncoding(it.value().toLatin1()));
        }
    }
}

bool isLoopbackName(const QString &host)
{
    const QStringList numbers = host.split(u'.');
    const bool isIPv4 =
        numbers.size() == 4 && std::all_of(numbers.begin(), numbers.end(), [](const QString &n) {
            bool ok = false;
            return n.toUInt(&ok) < 256 && ok;
        });
    return host == u"localhost" || host == u"::1" || (isIPv4 && numbers.front() == u"127");
}

void checkServer(const QString &text)
{
    const auto servers = [](const QString &base) { return QVariantMap{{QStringLiteral("api"), base}}; };
    const QString first = QStringLiteral("https://first.example");
    FUZZ_CHECK(DVServerUrl::setServers(servers(first)).isNull());
    const QString refused = DVServerUrl::setServers(servers(text));
    const QString base = DVServerUrl::baseUrlForServer(DVServerApi);
    if (!refused.isNull()) {
        FUZZ_CHECK(base == first);
        // What is said of it holds nothing from before the host's name but the scheme.
        const qsizetype at = text.lastIndexOf(u'@');
        FUZZ_CHECK(at < 0 || refused.left(refused.lastIndexOf(u'@')).endsWith(DVSecrets::redacted));
        FUZZ_CHECK(at >= 0 || refused == DVSecrets::cleanText(text));
        return;
    }
    const QUrl url(base, QUrl::StrictMode);
    FUZZ_CHECK(url.isValid() && !url.host().isEmpty() && !base.endsWith(u'/'));
    FUZZ_CHECK(!base.contains(u'?') && !base.contains(u'#') && url.userInfo().isEmpty());
    FUZZ_CHECK(base.startsWith(u"https://") || (base.startsWith(u"http://") && isLoopbackName(url.host())));
    FUZZ_CHECK(std::all_of(base.begin(), base.end(), [](QChar c) { return c > u' ' && c < u'\x7F'; }));
    FUZZ_CHECK(DVServerUrl::setServers(servers(base)).isNull());
    FUZZ_CHECK(DVServerUrl::baseUrlForServer(DVServerApi) == base);
}

} // namespace

void fuzz_url(QByteArrayView input)
{
    FuzzInput in(input);
    const quint8 part = in.byte();
    const QString text = QString::fromUtf8(in.rest());
    switch (part % 4) {
    case 0:
        return checkParsing(text);
    case 1:
        return checkUrl(text);
    case 2:
        return checkBuilding(text);
    default:
        return checkServer(text);
    }
}
