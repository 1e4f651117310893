// DVNetwork's signed family.
#include "DVNetwork.h"

#include "DVAPISession.h"
#include "DVJsonExchange.h"
#include "DVRequestDump.h"
#include "DVServerUrl.h"
#include "DVSession.h"
#include "DVStringsDelivery.h"

#include "DVFolders.h"
#include "DVLog.h"
#include "DVMainQueue.h"
#include "DVRecentEvents.h"
#include "DVState.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <utility>

namespace {

constexpr double longestTimeout = 600;

// A request before it is sent. Main thread.
struct Call
{
    std::shared_ptr<DVHttpRequest> request;
    std::function<void(const DVHttpRequest &)> send;
    std::function<void(const DVErrorOr &)> fail; // nothing was sent
    bool isDecided = false;
};
using CallPtr = std::shared_ptr<Call>;

void failLater(const CallPtr &call, const DVErrorOr &error)
{
    if (std::exchange(call->isDecided, true))
        return;
    DVMainQueue::post([call, error] {
        if (const DVTransferLinkPtr transfer = call->request->transfer)
            transfer->close();
        call->fail(error);
    });
}

void decide(const CallPtr &call, const DVErrorOr &error)
{
    if (call->isDecided)
        return; // cancelled, or a session that answers twice
    if (error)
        return failLater(call, error);
    call->isDecided = true;
    call->send(*call->request);
}

void signAndSend(const CallPtr &call, int authentication)
{
    if (const DVTransferLinkPtr transfer = call->request->transfer) {
        if (transfer->isCancelled())
            return failLater(call, DVHttpTransport::canceled());
        // Somebody may have to sign in first, which takes as long as it takes.
        transfer->setAbort([call] { failLater(call, DVHttpTransport::canceled()); });
    }
    const auto authorized = [call](const DVErrorOr &error) { decide(call, error); };
    call->request->isSigned = authentication == DVAuthenticationUser || authentication == DVAuthenticationApi;
    if (authentication == DVAuthenticationUser)
        DVSession::sharedInstance().authorizeRequest(call->request, authorized);
    else if (authentication == DVAuthenticationApi)
        DVAPISession::sharedInstance().authorizeRequest(call->request, authorized);
    else
        decide(call, {});
}

CallPtr callWith(DVHttpRequest request, const DVTransferPtr &transfer)
{
    request.transfer = DVTransferLink::of(transfer);
    auto call = std::make_shared<Call>();
    call->request = std::make_shared<DVHttpRequest>(std::move(request));
    return call;
}

struct JsonCall
{
    DVHttpRequest request;
    int authentication = DVAuthenticationNone;
    DVJsonCompletion completion;
    DVTransferPtr transfer;
    std::shared_ptr<const QString> bodyDebug;
};

void signAndSendForJson(const JsonCall &json)
{
    const CallPtr call = callWith(json.request, json.transfer);
    call->send = [completion = json.completion, bodyDebug = json.bodyDebug](const DVHttpRequest &request) {
        DVJsonExchange::send(request, completion, bodyDebug);
    };
    call->fail = [completion = json.completion](const DVErrorOr &error) {
        if (completion)
            completion(error, QJsonValue(QJsonValue::Undefined));
    };
    signAndSend(call, json.authentication);
}

JsonCall uploadOf(const DVFileAttachment &file, const QString &path, const QString &fieldName)
{
    const QString boundary = DVNetwork::generateBoundaryString();
    const auto bodyDebug = std::make_shared<QString>();
    JsonCall call;
    call.request = DVNetwork::getRequestForServer(DVServerApi, path, {});
    call.request.method = "POST";
    call.request.request.setRawHeader("Content-Type", "multipart/form-data; boundary=" + boundary.toLatin1());
    call.request.makeBody = [=](QByteArray *body) {
        return DVNetwork::createBodyWithBoundary(boundary, file, fieldName, body, bodyDebug.get());
    };
    call.bodyDebug = bodyDebug;
    return call;
}

// The body as it is now, or why there is none.
void makeBodyNow(DVHttpRequest *request)
{
    if (const DVErrorOr error = request->makeBody(&request->body))
        request->makeBody = [error](QByteArray *) { return error; };
    else
        request->makeBody = nullptr;
}

void upload(JsonCall call, int auth, DVJsonCompletion completion, const DVTransferPtr &transfer)
{
    call.authentication = auth;
    call.completion = std::move(completion);
    call.transfer = transfer;
    signAndSendForJson(call);
}

bool isInFilesFolder(const QString &path)
{
    return QFileInfo(path).absolutePath() == QFileInfo(DVFolders::dorvaneFiles()).absoluteFilePath();
}

// A status that says so is an error, whatever its body is.
DVErrorOr errorOfDownload(const DVHttpResponse &response)
{
    if (DVNetwork::isSuccessStatusCode(response.statusCode))
        return {};
    return DVNetwork::errorFromJson(QJsonDocument::fromJson(response.body).object(), response.statusCode);
}

// On the network thread. The body is written whatever the status; what it replaces is kept beside it until
// the new file has parsed, and comes back when it does not.
DVErrorOr saveDownload(const DVErrorOr &error, const DVHttpResponse &response, const QString &file,
                       bool keeps)
{
    if (error)
        return error;
    if (DVHttpTransport::isEnding())
        return DVHttpTransport::canceled();
    DVErrorOr failure;
    if (!response.body.isEmpty())
        failure = keeps ? DVStringsDelivery::replace(file, response.body)
                        : DVNetwork::writeData(response.body, file);
    return failure ? failure : errorOfDownload(response);
}

void reportDownload(const DVHttpRequest &request, const DVHttpResponse &response, const DVErrorOr &error,
                    const QString &file)
{
    if (error)
        DVRecentEvents::shared().noteError(*error);
    if (DVState::shared().debug)
        dv_logDebug(DVRequestDump::download(QLatin1StringView("Dorvane Download Network Request"), request,
                                            response, error, file, DVRequestDump::Body::Shown));
}

} // namespace

// NOLINTBEGIN(readability-function-size): the parameters that requests have

void DVNetwork::getPath(const QString &path, int authenticated, int onServer,
                        const QVariantMap &withParameters, DVJsonCompletion andCompletion,
                        const DVTransferPtr &transfer)
{
    DVHttpRequest request = getRequestForServer(onServer, path, withParameters);
    request.request.setRawHeader("Content-Type", "application/json");
    signAndSendForJson({request, authenticated, std::move(andCompletion), transfer, {}});
}

void DVNetwork::postPath(const QString &path, bool form, int authenticated, int onServer,
                         const QVariantMap &withParameters, DVJsonCompletion andCompletion,
                         const DVTransferPtr &transfer)
{
    signAndSendForJson({postRequestForServer(onServer, form, path, withParameters),
                        authenticated,
                        std::move(andCompletion),
                        transfer,
                        {}});
}

void DVNetwork::putPath(const QString &path, bool form, int authenticated, int onServer,
                        const QVariantMap &withParameters, DVJsonCompletion andCompletion,
                        const DVTransferPtr &transfer)
{
    DVHttpRequest request = postRequestForServer(onServer, form, path, withParameters);
    request.method = "PUT";
    signAndSendForJson({request, authenticated, std::move(andCompletion), transfer, {}});
}

void DVNetwork::postPath(const QString &path, int auth, const DVImageAttachment &withImageAttachment,
                         const QString &fieldName, DVJsonCompletion andCompletion,
                         const DVTransferPtr &transfer)
{
    upload(uploadOf({withImageAttachment.path}, path, fieldName), auth, std::move(andCompletion), transfer);
}

void DVNetwork::postPath(const QString &path, int auth, const DVFileAttachment &withFileAttachment,
                         const QString &fieldName, DVJsonCompletion andCompletion,
                         const DVTransferPtr &transfer)
{
    JsonCall call = uploadOf(withFileAttachment, path, fieldName);
    makeBodyNow(&call.request);
    upload(call, auth, std::move(andCompletion), transfer);
}

void DVNetwork::downloadPath(const QString &path, int auth, const QVariantMap &withParameters, double timeout,
                             const QString &toFile, std::function<void(const DVErrorOr &)> withCompletion,
                             const DVTransferPtr &transfer)
{
    DVHttpRequest request = getRequestForServer(DVServerApi, path, withParameters);
    request.maximumBodySize = DVHttpRequest().maximumBodySize;
    const CallPtr call = callWith(request, transfer);
    const int inactivityMs = timeout > 0 ? int(std::ceil(qMin(timeout, longestTimeout) * 1000)) : 0;
    const bool keeps = isInFilesFolder(toFile);
    call->send = [=](const DVHttpRequest &signedRequest) {
        const auto saved = std::make_shared<DVErrorOr>();
        DVHttpTransport::send(
            signedRequest,
            [=](const DVErrorOr &error, const DVHttpResponse &response) {
                *saved = saveDownload(error, response, toFile, keeps);
            },
            [=](const DVErrorOr &, const DVHttpResponse &response) {
                reportDownload(signedRequest, response, *saved, toFile);
                if (withCompletion)
                    withCompletion(*saved);
            },
            inactivityMs);
    };
    call->fail = [withCompletion](const DVErrorOr &error) {
        if (withCompletion)
            withCompletion(error);
    };
    signAndSend(call, auth);
}

// NOLINTEND(readability-function-size)
