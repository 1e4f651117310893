// DVNetwork's strings downloads.
#include "DVNetwork.h"

#include "DVAnalytics.h"
#include "DVHttpDate.h"
#include "DVRequestDump.h"
#include "DVStringsDelivery.h"

#include "DVLog.h"
#include "DVRecentEvents.h"
#include "DVState.h"

#include <QFileInfo>

#include <mutex>

namespace {

constexpr QLatin1StringView timerName{"Strings download"};

DVHttpRequest downloadRequest(const QString &url)
{
    DVHttpRequest request;
    request.request.setUrl(QUrl(url, QUrl::TolerantMode));
    request.request.setRawHeader("Accept-Encoding", "gzip");
    request.request.setRawHeader("User-Agent", DVNetwork::userAgent().toUtf8());
    return request;
}

using Outcome = DVDiagnostics::Delivery::Outcome;

// Of an answer that carries strings, or should.
Outcome outcomeOfContent(const DVHttpResponse &response, const DVErrorOr &error, bool decrypted)
{
    if (error)
        return error->domain == u"dorvane.network" ? Outcome::NoAnswer : Outcome::NotStored;
    if (response.body.isEmpty())
        return Outcome::Empty;
    return decrypted ? Outcome::Fresh : Outcome::Undecryptable;
}

Outcome outcomeOf(const DVHttpResponse &response, const DVErrorOr &error, bool decrypted)
{
    switch (response.statusCode) {
    case 0:
        return Outcome::NoAnswer;
    case 200:
        return outcomeOfContent(response, error, decrypted);
    case 304:
        return Outcome::Current;
    case 403:
        return Outcome::Refused;
    case 404:
        return Outcome::NotFound;
    default:
        return response.statusCode >= 500 ? Outcome::ServerFailure : Outcome::Unexpected;
    }
}

void report(bool sync, const DVHttpRequest &request, const DVHttpResponse &response, const DVErrorOr &error,
            const QString &path, bool decrypted)
{
    DVDiagnostics::Delivery delivery;
    delivery.outcome = outcomeOf(response, error, decrypted);
    delivery.status = response.statusCode;
    delivery.atLaunch = sync;
    delivery.error = error;
    DVRecentEvents::shared().noteDelivery(path, delivery);
    const QLatin1StringView heading(sync ? "Dorvane Sync Download Network Request"
                                         : "Dorvane Download Network Request");
    if (DVState::shared().debug)
        dv_logDebug(DVRequestDump::download(heading, request, response, error, path));
    QVariantMap properties = {{QStringLiteral("Sync"), sync}, {QStringLiteral("Success"), error ? 0 : 1}};
    if (error)
        properties.insert(QStringLiteral("Error"), error->description);
    DVAnalytics::stopEventTimer(timerName, properties);
}

bool carriesStrings(const DVHttpResponse &response)
{
    return response.statusCode == 200 && !response.body.isEmpty();
}

DVErrorOr saveContent(const DVStringsDelivery::Content &content, const QString &path,
                      const DVHttpResponse &response, QDateTime *downloadDate, QDateTime *expirationDate)
{
    if (const DVErrorOr cut = DVStringsDelivery::errorOfLength(response))
        return cut;
    DVErrorOr error = content.error;
    if (!error && !content.strings.isNull())
        error = DVStringsDelivery::replace(path, content.strings);
    if (!error)
        error = DVStringsDelivery::errorOfStatus(response.statusCode);
    DVStringsDelivery::readDates(response, downloadDate, expirationDate);
    return error;
}

// What the network thread hands to the main thread.
struct Saved
{
    DVErrorOr error;
    QDateTime downloadDate;
    QDateTime expirationDate;
    bool decrypted = false;
};

Saved saveAnswer(const DVErrorOr &connectionError, const DVHttpResponse &response, const QString &path)
{
    Saved saved{connectionError, {}, {}, false};
    if (saved.error)
        return saved;
    DVStringsDelivery::Content content;
    if (carriesStrings(response))
        content = DVStringsDelivery::decode(response.body);
    saved.decrypted = !content.strings.isNull();
    // Decoding takes its time; the application may have ended meanwhile.
    if (!DVHttpTransport::isEnding())
        saved.error = saveContent(content, path, response, &saved.downloadDate, &saved.expirationDate);
    return saved;
}

// Decoded on the network thread, for a caller that may have stopped waiting.
struct Decoded
{
    std::mutex mutex;
    DVStringsDelivery::Content content;
};

} // namespace

QString dv_previousFilePath(const QString &path)
{
    return path + QStringLiteral(".previous");
}

void DVNetwork::downloadFileAtURL(const QString &url, const QString &localPath,
                                  const QDateTime &ifModifiedSince, DVDownloadCompletion withCompletion)
{
    DVAnalytics::startEventTimer(timerName);
    DVHttpRequest request = downloadRequest(url);
    if (ifModifiedSince.isValid() && QFileInfo::exists(localPath))
        request.request.setRawHeader("If-Modified-Since", dv_httpHeaderString(ifModifiedSince).toLatin1());
    const auto saved = std::make_shared<Saved>();
    DVHttpTransport::send(
        request,
        [saved, localPath](const DVErrorOr &error, const DVHttpResponse &response) {
            *saved = saveAnswer(error, response, localPath);
        },
        [=](const DVErrorOr &, const DVHttpResponse &response) {
            report(false, request, response, saved->error, localPath, saved->decrypted);
            if (withCompletion)
                withCompletion(saved->error, response, saved->expirationDate, saved->downloadDate);
        });
}

DVErrorOr DVNetwork::syncDownloadProdUrl(const QString &url, double timeout, const QString &toFile,
                                         QDateTime *downloadDate, QDateTime *expirationDate)
{
    DVAnalytics::startEventTimer(timerName);
    const DVHttpRequest request = downloadRequest(url);
    const auto decoded = std::make_shared<Decoded>();
    DVHttpResponse response;
    DVErrorOr error =
        DVHttpTransport::sendAndWait(request, timeout, &response, [decoded](DVHttpResponse *answer) {
            if (!carriesStrings(*answer))
                return;
            DVStringsDelivery::Content content = DVStringsDelivery::decode(answer->body);
            const std::lock_guard lock(decoded->mutex);
            decoded->content = std::move(content);
        });
    bool decrypted = false;
    if (!error) {
        const std::lock_guard lock(decoded->mutex);
        error = saveContent(decoded->content, toFile, response, downloadDate, expirationDate);
        decrypted = !decoded->content.strings.isNull();
    }
    report(true, request, response, error, toFile, decrypted);
    return error;
}

// NOLINTNEXTLINE(readability-function-size): an answer, where it goes, and two dates that it gives
DVErrorOr DVNetwork::saveStringsFileFromData(const QByteArray &data, const QString &toPath,
                                             const DVHttpResponse &response, const DVErrorOr &error,
                                             QDateTime *downloadDate, QDateTime *expirationDate)
{
    if (error)
        return error;
    DVStringsDelivery::Content content;
    if (response.statusCode == 200 && !data.isEmpty())
        content = DVStringsDelivery::decode(data);
    return saveContent(content, toPath, response, downloadDate, expirationDate);
}
