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

// Class operations only; each is signed as it has to be, completes on the main thread, once, error first.
// The project and the current locale are those of DVState.
class DVApi
{
public:
    using Completion = std::function<void(const DVErrorOr &)>;

    // Signing in.
    static void tokenWithCode(const QString &code, bool refresh,
                              std::function<void(const DVErrorOr &, const QJsonObject &token)> andCompletion);
    static void logOutWithRefreshToken(const QString &refreshToken);
    static void pingWithCompletion(Completion completion);

    // Nothing comes with an error. Not forced, the session's copy answers where it has one.
    using InfoCompletion = std::function<void(const DVErrorOr &, const std::optional<QJsonObject> &)>;
    static void projectInfoWithCompletion(InfoCompletion completion);
    static void projectInfoForce(bool force, InfoCompletion withCompletion);
    using WorkflowsCompletion =
        std::function<void(const DVErrorOr &, const std::optional<QList<DVWorkflowStep>> &)>;
    static void projectWorkflowsForce(bool force, WorkflowsCompletion withCompletion);

    // Moves strings to the next step, or back; completes with those that the platform refused.
    using StatusCompletion = std::function<void(const DVErrorOr &, const QList<DVStringGroupPtr> &failed)>;
    static void submitStrings(const QList<DVStringGroupPtr> &strings, StatusCompletion withCompletion);
    static void rejectStrings(const QList<DVStringGroupPtr> &strings, StatusCompletion withCompletion);
    // `status`: "submittedStrings" or "rejectedStrings".
    static void setStatus(const QString &status, const QList<DVStringGroupPtr> &forStrings,
                          StatusCompletion withCompletion);

    // Imports edited strings; completes with why some were not taken, by key.
    using SaveCompletion = std::function<void(const DVErrorOr &, const QMap<QString, QStringList> &failures)>;
    static void saveStrings(const DVStringGroups &strings, const DVXliffHeader &header,
                            SaveCompletion withCompletion, const DVTransferPtr &transfer = {});

    // Reports what is wrong with a translation: the group's rejectReason and rejectDescription.
    static void createIssueForString(const DVStringGroupPtr &string, Completion withCompletion);

    static void uploadContext(const DVContextPicture &picture, Completion withCompletion,
                              const DVTransferPtr &transfer = {});

    // The published strings and then those of the current step, as XLIFF files. The second one's error.
    static void downloadStringsForLocale(const DVLocale &locale, int authenticated,
                                         const QString &pendingPath, const QString &publishedPath,
                                         Completion withCompletion, const DVTransferPtr &transfer = {});
};
