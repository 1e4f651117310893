#include "DVStringsDelivery.h"

#include "DVData.h"
#include "DVHttpDate.h"
#include "DVNetwork.h"

#include "DVClock.h"
#include "DVPrivateFile.h"
#include "DVState.h"

#include <QFileInfo>
#include <QNetworkReply>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>

namespace {

QDateTime dateIn(const DVHttpResponse &response, const char *header)
{
    return dv_dateFromHttpHeaderString(QString::fromLatin1(response.header(header)));
}

// "delta-seconds" of RFC 9111, 1.2.2: digits; what does not fit counts as 2^31.
std::optional<qint64> deltaSeconds(QByteArray text)
{
    text = text.trimmed();
    if (text.size() >= 2 && text.startsWith('"') && text.endsWith('"'))
        text = text.mid(1, text.size() - 2);
    if (text.isEmpty() || !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::nullopt;
    const qint64 most = qint64(1) << 31;
    qint64 value = 0;
    for (const char c : std::as_const(text))
        value = qMin(value * 10 + (c - '0'), most);
    return value;
}

std::optional<qint64> maxAge(const DVHttpResponse &response)
{
    const QList<QByteArray> directives = response.header("Cache-Control").split(',');
    for (const QByteArray &directive : directives) {
        const qsizetype equals = directive.indexOf('=');
        if (equals > 0 && directive.left(equals).trimmed().compare("max-age", Qt::CaseInsensitive) == 0)
            return deltaSeconds(directive.mid(equals + 1));
    }
    return std::nullopt;
}

// On the device's clock. Without "Expires" the answer may still say how long it stays fresh, counted
// from its making (RFC 9111, 4.2).
QDateTime expiration(const DVHttpResponse &response, const QDateTime &now, const QDateTime &serverDate)
{
    const QDateTime expires = dateIn(response, "Expires");
    if (expires.isValid())
        return expires.addMSecs(serverDate.msecsTo(now));
    if (const auto lifetime = maxAge(response)) {
        const qint64 age = deltaSeconds(response.header("Age")).value_or(0);
        return now.addSecs(qMax<qint64>(0, *lifetime - age));
    }
    return {};
}

DVErrorOr copyFile(const QString &from, const QString &to)
{
    QByteArray content;
    if (const DVErrorOr error = DVPrivateFile::read(from, &content))
        return error;
    return DVPrivateFile::write(to, content);
}

// Not every file system has links.
DVErrorOr keepAs(const QString &path, const QString &previous)
{
    std::error_code failure;
    std::filesystem::create_hard_link(path.toStdU16String(), previous.toStdU16String(), failure);
    return failure ? copyFile(path, previous) : DVErrorOr();
}

} // namespace

DVStringsDelivery::Content DVStringsDelivery::decode(const QByteArray &body)
{
    Content content;
    const QByteArray decrypted = dv_decryptAESWithKey(body, DVState::shared().aesKey());
    if (!decrypted.isNull())
        content.strings = dv_gunzippedData(decrypted, {}, &content.error);
    return content;
}

DVErrorOr DVStringsDelivery::replace(const QString &path, const QByteArray &strings)
{
    DVNetwork::announceWrite(strings, path); // a host's message handler must not run under the lock
    const QMutexLocker lock(&dv_stringsFilesMutex());
    const QString previous = dv_previousFilePath(path);
    // One that is kept already was good; the present one has not been parsed yet.
    if (QFileInfo::exists(path) && !QFileInfo::exists(previous)) {
        if (const DVErrorOr error = keepAs(path, previous))
            return error;
    }
    return DVPrivateFile::write(path, strings);
}

DVErrorOr DVStringsDelivery::errorOfLength(const DVHttpResponse &response)
{
    const qsizetype blockSize = 16;
    if (response.statusCode != 200 || response.header("Transfer-Encoding").isNull() ||
        response.body.size() % blockSize == 0)
        return {};
    return DVError{QStringLiteral("dorvane.network"), QNetworkReply::RemoteHostClosedError,
                   QStringLiteral("The answer was cut short.")};
}

DVErrorOr DVStringsDelivery::errorOfStatus(int status)
{
    const QString domain = QStringLiteral("dorvane.API");
    if (status == 404)
        return DVError{domain, status, QStringLiteral("No strings found for this locale and version")};
    if (status == 403)
        return DVError{domain, status, QStringLiteral("MDN disabled for this project")};
    return {};
}

void DVStringsDelivery::readDates(const DVHttpResponse &response, QDateTime *downloadDate,
                                  QDateTime *expirationDate)
{
    const QDateTime serverDate = dateIn(response, "Date");
    if (response.statusCode >= 500 || !serverDate.isValid())
        return;
    const QDateTime expires = expiration(response, DVClock::now(), serverDate);
    if (expirationDate && expires.isValid())
        *expirationDate = expires;
    if (downloadDate && response.statusCode != 304)
        *downloadDate = dateIn(response, "Last-Modified");
}
