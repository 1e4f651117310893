// DVAPISession: the API credentials of a project.
#pragma once

#include "DVHttpTransport.h"

#include <Dorvane/DVError.h>

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <functional>
#include <memory>

// Main thread only. Kept in memory, never written or logged.
class DVAPISession
{
public:
    using Completion = std::function<void(const DVErrorOr &)>;

    static DVAPISession &sharedInstance();

    QString userId;            // null until the options name one
    QString userSecret;        // null until the options name one
    QString token;             // null until authenticated
    QDateTime tokenExpiration; // a minute before the platform's
    QString refreshToken;
    QDateTime refreshTokenExpiration;

    void tokensFromDict(const QJsonObject &dict);
    void getTokenWithCompletion(Completion completion);
    void refreshTokenWithCompletion(Completion completion);
    // Signs, after authenticating or refreshing where that is due. With a live token it completes before it
    // returns. What one attempt brought signs the request, however short its life.
    void authorizeRequest(const std::shared_ptr<DVHttpRequest> &request, Completion withCompletion);

private:
    bool hasLiveToken() const;
};
