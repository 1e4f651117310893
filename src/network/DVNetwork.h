// DVNetwork: every HTTP exchange of the library.
#pragma once

#include "DVHttpTransport.h"
#include "DVTransfer.h"

#include <Dorvane/DVError.h>

#include <QDateTime>
#include <QJsonValue>
#include <QMutex>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

// JSON operations complete with (error, json) on the main thread, at most once (not after the application's
// end), never from inside the call; json is there even with an error, undefined when there was none to
// decode.
using DVJsonCompletion = std::function<void(const DVErrorOr &, const QJsonValue &)>;

// Who signs a request. Any other value behaves as None.
enum DVAuthentication {
    DVAuthenticationNone = 0,
    DVAuthenticationUser = 1, // DVSession
    DVAuthenticationApi = 2   // DVAPISession
};

// What a multipart upload carries: the path of a file, and its content where the caller knows it; then only
// the path's name is used.
struct DVImageAttachment
{
    QString path;
};
struct DVFileAttachment
{
    QString path;
    std::optional<QByteArray> content = {};
};

// Completion of a strings download, on the main thread. Dates that the answer does not give are invalid.
using DVDownloadCompletion =
    std::function<void(const DVErrorOr &, const DVHttpResponse &, const QDateTime &expirationDate,
                       const QDateTime &downloadDate)>;

// Stateless.
class DVNetwork
{
public:
    static QString deviceName();
    static QString userAgent();

    // "a=1&b=2" with the values percent-escaped, keys in QVariantMap's order; null for an empty map.
    static QString makeParamsStringsWithDict(const QVariantMap &dict);
    static DVHttpRequest getRequestForServer(int server, const QString &path,
                                             const QVariantMap &withParameters);
    static DVHttpRequest postRequestForServer(int server, bool form, const QString &path,
                                              const QVariantMap &withParameters);

    static bool isSuccessStatusCode(int code); // 200 ... 399
    // The error that a failing answer's JSON stands for, or none (an array). Without secrets, and short.
    static DVErrorOr errorFromJson(const QJsonValue &json, int code);

    // Writes the dump (debug), the one-line form (info), and tracks "Request failed" on an error.
    static void debugRequest(const DVHttpRequest &request, const DVHttpResponse &withResponse,
                             const DVErrorOr &error, const QJsonValue &andJson, const QString &bodyDebug);

    // The debug line of a write; writeData() says it itself.
    static void announceWrite(const QByteArray &data, const QString &toFile);
    static DVErrorOr writeData(const QByteArray &data, const QString &toFile);

    static void getUrl(const QString &url, DVJsonCompletion withCompletion);
    static void postPath(const QString &path, bool form, int onServer, const QVariantMap &withParameters,
                         DVJsonCompletion andCompletion);

    // The signed family. A request is first handed to the session of `authenticated`; an error of the
    // session completes it and nothing is sent. Signed requests, and all but GETs, follow redirects to the
    // same origin only (the error names both origins), and all but GETs are never sent a second time. With a
    // transfer that is cancelled nothing is sent. All complete as JSON operations do.
    static void getPath(const QString &path, int authenticated, int onServer,
                        const QVariantMap &withParameters, DVJsonCompletion andCompletion,
                        const DVTransferPtr &transfer = {});
    static void postPath(const QString &path, bool form, int authenticated, int onServer,
                         const QVariantMap &withParameters, DVJsonCompletion andCompletion,
                         const DVTransferPtr &transfer = {});
    static void putPath(const QString &path, bool form, int authenticated, int onServer,
                        const QVariantMap &withParameters, DVJsonCompletion andCompletion,
                        const DVTransferPtr &transfer = {});
    // Multipart uploads to the API host. An image is read on the network thread when the request is sent,
    // which may be after a sign-in; a file before the call returns, so that it may be replaced at once. One
    // that cannot be read, or has more than 256 MiB, is an error in the domain "dorvane.file".
    static void postPath(const QString &path, int auth, const DVImageAttachment &withImageAttachment,
                         const QString &fieldName, DVJsonCompletion andCompletion,
                         const DVTransferPtr &transfer = {});
    static void postPath(const QString &path, int auth, const DVFileAttachment &withFileAttachment,
                         const QString &fieldName, DVJsonCompletion andCompletion,
                         const DVTransferPtr &transfer = {});
    // GET on the API host into a file, given up after `timeout` seconds without progress (0: 60). A body that
    // is not empty is written, on the network thread, whatever the status: but a failing status (as in
    // isSuccessStatusCode) is an error, domain "dorvane.API". In the folder of the library's files the one
    // that is replaced is kept as dv_previousFilePath until the new one has parsed, as for strings downloads,
    // so that an error page costs nothing.
    static void downloadPath(const QString &path, int auth, const QVariantMap &withParameters, double timeout,
                             const QString &toFile, std::function<void(const DVErrorOr &)> withCompletion,
                             const DVTransferPtr &transfer = {});

    static QString generateBoundaryString();
    // `debugString` (may be null) receives the body as text, without the files' contents. A file that cannot
    // be read is an error, and then neither changes. Quotes and line ends in names are percent-encoded, as
    // browsers do. Any thread.
    static DVErrorOr createBodyWithBoundary(const QString &boundary, const QVariantMap &parameters,
                                            const QStringList &paths, const QString &fieldName,
                                            QByteArray *body, QString *debugString);
    static DVErrorOr createBodyWithBoundary(const QString &boundary, const DVFileAttachment &file,
                                            const QString &fieldName, QByteArray *body, QString *debugString);

    // Conditional GET of a strings file, in the background. Decryption, inflation and the write happen
    // on the network thread.
    static void downloadFileAtURL(const QString &url, const QString &localPath,
                                  const QDateTime &ifModifiedSince, DVDownloadCompletion withCompletion);

    // Blocks the caller, without an event loop, for at most `timeout` seconds, in which the answer must
    // have been decrypted and inflated too; later nothing is written. Dates that the answer does not
    // give are left alone, but an answer other than 304 with a "Date" and no "Last-Modified" makes the
    // download date invalid.
    static DVErrorOr syncDownloadProdUrl(const QString &url, double timeout, const QString &toFile,
                                         QDateTime *downloadDate, QDateTime *expirationDate);

    // The answer handler of both. `error`: the connection's. Out-dates may be null.
    static DVErrorOr saveStringsFileFromData(const QByteArray &data, const QString &toPath,
                                             const DVHttpResponse &response, const DVErrorOr &error,
                                             QDateTime *downloadDate, QDateTime *expirationDate);
};

// The strings file that a download replaces is kept beside it under this name until the new one has
// been parsed once.
QString dv_previousFilePath(const QString &path);
// Held while a download keeps and replaces a strings file, and while the kept file is dropped or put
// back: so that a file is never dropped on the strength of a parse of the one before.
inline QMutex &dv_stringsFilesMutex()
{
    static QMutex mutex;
    return mutex;
}
