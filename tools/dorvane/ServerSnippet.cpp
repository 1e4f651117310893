#include "ServerSnippet.h"

#include <QDir>
#include <QFile>
#include <QHostAddress>

#include <algorithm>
#include <array>

namespace {

// What the files in docs/operating/ say, as examples that work as they stand.
const QString exampleRoot = QStringLiteral("/srv/dorvane");
const QString examplePort = QStringLiteral("8080");
const QString exampleExpiry = QStringLiteral("3600");

struct Server
{
    const char *name;
    const char *file;
    const char *log;
    const char *expiry; // how the file writes it, %1 for the seconds
};

constexpr std::array servers{
    Server{"nginx", "nginx.conf", "/var/log/nginx/dorvane.log", "expires %1s;"},
    Server{"apache", "apache.conf", "/var/log/apache2/dorvane.log", "ExpiresDefault \"A%1\""},
    Server{"caddy", "Caddyfile", "/var/log/caddy/dorvane.log", "max-age=%1"},
};

const Server *serverNamed(const QString &name)
{
    const auto *found = std::find_if(servers.begin(), servers.end(), [&name](const Server &server) {
        return name == QLatin1StringView(server.name);
    });
    return found == servers.end() ? nullptr : found;
}

// Quoted in all three configurations; these characters end a quotation or stand for something else.
bool canBeQuoted(const QString &path)
{
    return QDir::isAbsolutePath(path) && std::none_of(path.begin(), path.end(), [](QChar character) {
               return character < u' ' || character == u'\x7f' ||
                      QStringView(u"\"\\$%{}`").contains(character);
           });
}

struct Listen
{
    QString address; // null: every address
    quint16 port = 0;

    static Listen from(const QString &text)
    {
        const qsizetype colon = text.lastIndexOf(u':');
        bool isNumber = false;
        const quint16 port = text.mid(colon + 1).toUShort(&isNumber);
        QString address = text.left(std::max<qsizetype>(colon, 0));
        if (address.startsWith(u'[') && address.endsWith(u']'))
            address = address.mid(1, address.size() - 2);
        const bool good = isNumber && (colon < 0 || !QHostAddress(address).isNull());
        return good ? Listen{address, port} : Listen();
    }
    // With brackets around an IPv6 address, as all three want it.
    QString inBrackets() const { return address.contains(u':') ? u'[' + address + u']' : address; }
    QString withPort(const QString &everyAddress) const
    {
        const QString host = address.isEmpty() ? everyAddress : QString(inBrackets() + u':');
        return host + QString::number(port);
    }
};

QString configurationOf(const Server &server)
{
    QFile file(QStringLiteral(":/operating/") + QLatin1StringView(server.file));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Each server's own way to name an address.
void fillListen(QString *text, const Listen &listen)
{
    text->replace(QStringLiteral("    listen %1;").arg(examplePort),
                  QStringLiteral("    listen %1;").arg(listen.withPort({})));
    text->replace(QStringLiteral("\nListen %1").arg(examplePort),
                  QStringLiteral("\nListen %1").arg(listen.withPort({})));
    text->replace(QStringLiteral("<VirtualHost *:%1>").arg(examplePort),
                  QStringLiteral("<VirtualHost %1>").arg(listen.withPort(QStringLiteral("*:"))));
    const QString bind =
        listen.address.isEmpty() ? QString() : QStringLiteral("\n\tbind %1").arg(listen.address);
    text->replace(QStringLiteral("\nhttp://:%1 {").arg(examplePort),
                  QStringLiteral("\nhttp://:%1 {%2").arg(QString::number(listen.port), bind));
}

} // namespace

QString ServerSnippet::problem() const
{
    if (!serverNamed(server))
        return QStringLiteral("--server is nginx, apache or caddy.");
    if (Listen::from(listen).port == 0)
        return QStringLiteral("--listen is a port or ADDRESS:PORT, such as 8080 or 127.0.0.1:8080.");
    for (const QString &path : {root, log.isNull() ? root : log})
        if (!canBeQuoted(path))
            return QStringLiteral(
                       "\"%1\" cannot stand in a server's configuration: it takes an absolute path "
                       "without quotes, backslashes, $, %, braces and line ends.")
                .arg(path);
    return {};
}

QString ServerSnippet::text() const
{
    const Server &chosen = *serverNamed(server);
    QString text = configurationOf(chosen);
    fillListen(&text, Listen::from(listen));
    text.replace(u'"' + exampleRoot, u'"' + root);
    if (!log.isNull())
        text.replace(QLatin1StringView(chosen.log), log);
    const QString expiry = QString::fromLatin1(chosen.expiry);
    // A negative "max-age" is no number (RFC 9111, 1.2.2); zero says as much.
    const qint64 seconds = server == u"caddy" ? std::max<qint64>(expiresSeconds, 0) : expiresSeconds;
    return text.replace(expiry.arg(exampleExpiry), expiry.arg(seconds));
}
