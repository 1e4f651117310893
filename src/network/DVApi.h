// DVApi: the platform's REST API.
#pragma once

#include "DVTransfer.h"

#include "DVString.h"
#include "DVWorkflowStep.h"
#include "DVXliffWriter.h"

#include <Dorvane/DVError.h>
#include <Dorvane/DVLocale.h>

#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QRectF>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// A picture of a window, and where its strings stand on it.
struct DVContextPicture
{
    struct String
    {
        QString key;
        QString uid;  // null: unknown to the platform
        QRectF frame; // in points of the picture
    };
    QList<String> strings;
    // Saves the picture as PNG; its path, null when it could not.
    std::function<QString()> saveImage;
};

// Class operations only, main thread; each is signed as it has to be and completes there, once, error first,
// never from inside the call. Project, current locale and step are those of DVState at the call. Completions
// may be empty. Errors are the request's. A successful answer that lacks what the operation reads, or has it
// in another type, is "Server error", domain "dorvane.API", code 500: nobody knows then what the platform
// took.
class DVApi
{
public:
    using Completion = std::function<void(const DVErrorOr &)>;

    // Signing in.
    static void tokenWithCode(const QString &code, bool refresh,
                              std::function<void(const DVErrorOr &, const QJsonObject &token)> andCompletion);
    static void logOutWithRefreshToken(const QString &refreshToken);
    static void pingWithCompletion(Completion completion);

    // Nothing comes with an error. Not forced, the session's copy answers where it has one. The first asks
    // anew each time and keeps nothing; outside review it signs with the API credentials.
    using InfoCompletion = std::function<void(const DVErrorOr &, const std::optional<QJsonObject> &)>;
    static void projectInfoWithCompletion(InfoCompletion completion);
    static void projectInfoForce(bool force, InfoCompletion withCompletion);
    using WorkflowsCompletion =
        std::function<void(const DVErrorOr &, const std::optional<QList<DVWorkflowStep>> &)>;
    static void projectWorkflowsForce(bool force, WorkflowsCompletion withCompletion);

    // Moves strings to the next step, or back; completes with those that the platform refused, each once; all
    // of them with an error. Strings without a uid are not sent. No strings: nothing is sent.
    using StatusCompletion = std::function<void(const DVErrorOr &, const QList<DVStringGroupPtr> &failed)>;
    static void submitStrings(const QList<DVStringGroupPtr> &strings, StatusCompletion withCompletion);
    static void rejectStrings(const QList<DVStringGroupPtr> &strings, StatusCompletion withCompletion);
    // `status`: "submittedStrings" or "rejectedStrings".
    static void setStatus(const QString &status, const QList<DVStringGroupPtr> &forStrings,
                          StatusCompletion withCompletion);

    // Imports edited strings, as a file of this name in the folder of the library's files, which stays there
    // until the next time. Completes with why some could not be written or were not taken, by key; with an
    // error all of them. No strings: nothing is sent. Saves at the same time do not disturb each other.
    static constexpr QLatin1StringView saveFileName{"saveFile.xlf"};
    using SaveCompletion = std::function<void(const DVErrorOr &, const QMap<QString, QStringList> &failures)>;
    static void saveStrings(const DVStringGroups &strings, const DVXliffHeader &header,
                            SaveCompletion withCompletion, const DVTransferPtr &transfer = {});

    // Reports what is wrong with a translation: the group's rejectReason and rejectDescription (which becomes
    // empty when it is null).
    static void createIssueForString(const DVStringGroupPtr &string, Completion withCompletion);

    // The picture first, then where its strings stand. Tracked as "Context Capture".
    static void uploadContext(const DVContextPicture &picture, Completion withCompletion,
                              const DVTransferPtr &transfer = {});

    // The published strings and then the pending ones, of the current step if there is one, as XLIFF files.
    // Completes with the second one's error, whatever became of the first.
    static void downloadStringsForLocale(const DVLocale &locale, int authenticated,
                                         const QString &pendingPath, const QString &publishedPath,
                                         Completion withCompletion, const DVTransferPtr &transfer = {});
};
