// DVSession: the translator who is signed in.
#pragma once

#include "DVPrivateExport.h"

#include "DVHttpTransport.h"

#include "DVWorkflowStep.h"

#include <Dorvane/DVError.h>

#include <QJsonObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

// OpenID Connect, authorization code flow (RFC 6749). Tokens are kept in the keychain and refreshed silently
// until the refresh token expires; then the login screen opens. Main thread only.
class DVSession
{
public:
    using Completion = std::function<void(const DVErrorOr &)>;
    using MutableRequest = std::shared_ptr<DVHttpRequest>;

    DORVANE_PRIVATE_EXPORT static DVSession &sharedInstance();

    // The token endpoint's answer with "expires" and "refresh_expires" (seconds since 1970, a minute early).
    std::optional<QJsonObject> token() const { return m_token; }
    // Claims of the access token; nothing when it is opaque or damaged.
    std::optional<QJsonObject> userInfo() const { return m_userInfo; }
    QString accountId() const { return {}; } // nothing sets it
    std::optional<QJsonObject> projectInfo; // answers of the platform, kept until log out or the next sign-in
    std::optional<QList<DVWorkflowStep>> workflows;

    // Whether a token is held now. One that arrives from the keychain later is published then.
    bool loadSavedCredentials();
    void saveCredentialsToKeychain();
    bool loadCredentialsFromKeychain();

    // `code`: an authorization code, or with `refresh` a refresh token. A failure keeps what was before. An
    // answer without a refresh token keeps the old one (RFC 6749, section 6).
    void getTokenWithCode(const QString &code, bool refresh, Completion withCompletion);

    // Adds the credentials to a request. With a live token it completes before it returns. Completes in every
    // case: "No token found" where no login screen can be opened. A request starts one refresh at most and
    // opens one login screen at most; what these bring signs it, however short its life. Requests that need
    // the login screen while it is open share it. Whose refresh fails is signed with the token that another
    // request's refresh brought, if one did: with refresh tokens that are good for one use, one of several
    // refreshes at the same time succeeds. A 401 answer changes nothing here, since it may be about
    // rights: the token is used until its time. What waits when somebody logs out ends with "No token found",
    // whoever has signed in since.
    void authorizeRequest(const MutableRequest &request, Completion withCompletion);
    void refreshTokenForRequest(const MutableRequest &request, Completion withCompletion);
    void showLoginFormForRequest(const MutableRequest &request, Completion withCompletion);
    void authorizeRequestFromProxy(const MutableRequest &request, Completion withCompletion);

    // Holds at the next start whether or not the keychain carried the deletion out: until it has, the device
    // remembers which sign-in is none any more.
    void logOut();
    QString accessToken() const; // null without one
    DORVANE_PRIVATE_EXPORT bool isLoggedIn() const;
    bool isDemo() const;
    // Grows with every sign-in and log out: an answer to what was asked before is not for who is here now.
    int epoch() const { return m_epoch; }
    // Grows with every log out only: what was started before is not for whoever signs in next.
    int logOuts() const { return m_logOuts; }
    static std::optional<QJsonObject> userInfoFromToken(const QString &jwt);

    // The page where a user signs in; it ends at a redirect to a URL that begins with redirectScheme, whose
    // parameter "code" is for getTokenWithCode.
    static constexpr QLatin1StringView redirectScheme{"dorvane.ios.sdk://"};
    static QString authorizationUrl();

    // What upper floors give. The login screen says in the end whether the user cancelled; one that drops the
    // function was cancelled.
    using LoginForm = std::function<void(std::function<void(bool cancelled)>)>;
    void setLoginForm(LoginForm open) { m_loginForm = std::move(open); }
    void setResetController(std::function<void()> reset) { m_resetController = std::move(reset); }
    // Called on log out, to delete what the next translator must not inherit.
    void setDeleteEdits(std::function<void()> deleteEdits) { m_deleteEdits = std::move(deleteEdits); }
    // Called after every change of who is signed in.
    void setChanged(std::function<void()> changed) { m_changed = std::move(changed); }
    // The object that signs requests in the hosted demonstration; the caller keeps it. See
    // <Dorvane/DVProxy.h>.
    void setProxy(QObject *proxy);
    // As a new process would find it: nothing in memory, no hooks, nothing under way. The keychain's items
    // stay.
    void forget();
    void setProxyTimeout(int milliseconds) { m_proxyTimeoutMs = milliseconds; } // for tests

private:
    DVSession();

    // A request that waits for a token. `before`: the access token that was no good.
    struct Waiting
    {
        MutableRequest request;
        Completion completion;
        QString before;
        int logOuts;
    };
    class LoginAnswer;

    void adopt(const QJsonObject &token);
    void useSaved(const QJsonObject &token);
    void publish();
    void forgetAnswers();
    bool hasLiveToken() const;
    bool sign(const Waiting &waiting);
    void refreshEnded(const DVErrorOr &error, const Waiting &waiting);
    void openLoginForm();
    void loginEnded(bool cancelled);

    std::optional<QJsonObject> m_token;
    std::optional<QJsonObject> m_userInfo;
    QString m_subject; // whom m_changed was last told of
    int m_epoch = 0;
    int m_logOuts = 0;
    int m_refreshes = 0;
    QList<Waiting> m_failedRefreshes; // while others are under way
    QList<Waiting> m_waitingForLogin;
    std::weak_ptr<LoginAnswer> m_loginAnswer;
    int m_proxyTimeoutMs = 60000;
    LoginForm m_loginForm;
    std::function<void()> m_resetController;
    std::function<void()> m_deleteEdits;
    std::function<void()> m_changed;
    QPointer<QObject> m_proxy;
};
