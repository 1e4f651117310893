#include "DVSession.h"

#include "DVApi.h"
#include "DVKeychain.h"
#include "DVProxySigning.h"
#include "DVServerUrl.h"
#include "DVTokenValues.h"

#include "DVClock.h"
#include "DVLog.h"
#include "DVMainQueue.h"
#include "DVSavedSignIn.h"
#include "DVSecrets.h"
#include "DVState.h"
#include "DVUserDefaults.h"

#include <QJsonDocument>

#include <cmath>
#include <utility>

namespace {

constexpr QLatin1StringView accessTokenKey("access_token");
constexpr QLatin1StringView refreshTokenKey("refresh_token");

QString claim(const std::optional<QJsonObject> &userInfo, QLatin1StringView name)
{
    return userInfo ? dv_textMember(*userInfo, name) : QString();
}

} // namespace

DVSession::DVSession() = default;

DVSession &DVSession::sharedInstance()
{
    static auto *session = new DVSession; // never destroyed, as all that is shared
    return *session;
}

bool DVSession::loadSavedCredentials()
{
    const bool loaded = m_token.has_value() || loadCredentialsFromKeychain();
    publish(); // a demonstration is signed in without a token
    return loaded;
}

void DVSession::saveCredentialsToKeychain()
{
    if (!m_token)
        return;
    dv_logDebug(QStringLiteral("Saving credentials to keychain"));
    DVSavedSignIn::save(*m_token);
}

bool DVSession::loadCredentialsFromKeychain()
{
    const auto later = [this](const QJsonObject &token) {
        if (!m_token)
            useSaved(token);
    };
    if (const auto token = DVSavedSignIn::load(later))
        useSaved(*token);
    return m_token.has_value();
}

void DVSession::useSaved(const QJsonObject &token)
{
    // Without one nothing could be signed and nothing would ever ask for it.
    if (!dv_isBearerToken(dv_textMember(token, accessTokenKey)))
        return;
    adopt(token);
    dv_logDebugLazily([&] {
        const QJsonObject clean = DVSecrets::cleanJson(token).toObject();
        return QString(u"Loaded credentials from keychain \n" %
                       QString::fromUtf8(QJsonDocument(clean).toJson(QJsonDocument::Compact)));
    });
}

void DVSession::adopt(const QJsonObject &token)
{
    m_token = token;
    m_userInfo = userInfoFromToken(dv_textMember(token, accessTokenKey));
    publish();
}

void DVSession::forgetAnswers()
{
    projectInfo.reset();
    workflows.reset();
}

void DVSession::publish()
{
    auto &state = DVState::shared();
    const bool loggedIn = isLoggedIn();
    const QString email = claim(m_userInfo, QLatin1StringView("email"));
    const QString subject = claim(m_userInfo, QLatin1StringView("sub"));
    if (loggedIn == state.loggedIn && email == state.userEmail() && subject == m_subject)
        return;
    state.loggedIn = loggedIn;
    state.setUserEmail(email);
    m_subject = subject;
    if (m_changed)
        m_changed();
}

void DVSession::getTokenWithCode(const QString &code, bool refresh, Completion withCompletion)
{
    const auto answered = [this, code, refresh, withCompletion, epoch = m_epoch](const DVErrorOr &error,
                                                                                 QJsonObject token) {
        if (error)
            return withCompletion(error);
        // Who logged out, or signed in as somebody else, meanwhile wants no answer of before.
        if (epoch != m_epoch)
            return withCompletion(m_token ? DVErrorOr() : dv_noTokenFound());
        if (refresh && dv_textMember(token, refreshTokenKey).isEmpty())
            token.insert(refreshTokenKey, code);
        if (!refresh) {
            ++m_epoch;
            forgetAnswers(); // it may be somebody else, with other rights
        }
        adopt(token);
        saveCredentialsToKeychain();
        withCompletion({});
    };
    DVApi::tokenWithCode(code, refresh, answered);
}

bool DVSession::hasLiveToken() const
{
    return m_token && std::trunc(dv_secondsFromJson(m_token->value(u"expires"))) >
                          std::trunc(DVClock::secondsSince1970());
}

void DVSession::authorizeRequest(const MutableRequest &request, Completion withCompletion)
{
    if (isDemo())
        return authorizeRequestFromProxy(request, withCompletion);
    const QString token = accessToken();
    if (!dv_isBearerToken(token))
        return withCompletion(dv_noTokenFound());
    if (hasLiveToken()) {
        dv_setBearerToken(request, token);
        return withCompletion({});
    }
    const double refreshExpires = std::trunc(dv_secondsFromJson(m_token->value(u"refresh_expires")));
    if (std::trunc(DVClock::secondsSince1970()) > refreshExpires)
        showLoginFormForRequest(request, withCompletion);
    else
        refreshTokenForRequest(request, withCompletion);
}

// Signs with the token held now if it is live or has come since; completes then, or when who asked has gone.
bool DVSession::sign(const Waiting &waiting)
{
    if (waiting.logOuts != m_logOuts) {
        waiting.completion(dv_noTokenFound());
        return true;
    }
    if (isDemo()) {
        authorizeRequestFromProxy(waiting.request, waiting.completion);
        return true;
    }
    const QString token = accessToken();
    if (!dv_isBearerToken(token) || (token == waiting.before && !hasLiveToken()))
        return false;
    dv_setBearerToken(waiting.request, token);
    waiting.completion({});
    return true;
}

void DVSession::refreshTokenForRequest(const MutableRequest &request, Completion withCompletion)
{
    const QString refreshToken = m_token ? dv_textMember(*m_token, refreshTokenKey) : QString();
    if (refreshToken.isEmpty())
        return showLoginFormForRequest(request, withCompletion);
    ++m_refreshes;
    const Waiting waiting{request, withCompletion, accessToken(), m_logOuts};
    getTokenWithCode(refreshToken, true, [this, waiting](const DVErrorOr &error) {
        --m_refreshes;
        refreshEnded(error, waiting);
    });
}

void DVSession::refreshEnded(const DVErrorOr &error, const Waiting &waiting)
{
    const bool fresh = !error;
    m_failedRefreshes.append(waiting);
    // One of those under way may bring a token yet.
    if (!fresh && accessToken() == waiting.before && m_refreshes > 0)
        return;
    const auto ended = std::exchange(m_failedRefreshes, {});
    for (const Waiting &each : ended) {
        if (sign(each))
            continue;
        if (m_token)
            showLoginFormForRequest(each.request, each.completion);
        else
            each.completion(dv_noTokenFound());
    }
}

// What the login screen is given. Who destroys the last copy without an answer has cancelled.
class DVSession::LoginAnswer
{
public:
    explicit LoginAnswer(std::function<void(bool)> answer)
        : m_answer(std::move(answer))
    {}
    ~LoginAnswer()
    {
        if (m_answer)
            DVMainQueue::post([answer = m_answer] { answer(true); });
    }
    Q_DISABLE_COPY_MOVE(LoginAnswer)

    bool isAwaited() const { return m_answer != nullptr; }
    void give(bool cancelled)
    {
        if (const auto answer = std::exchange(m_answer, {}))
            answer(cancelled);
    }

private:
    std::function<void(bool)> m_answer;
};

void DVSession::showLoginFormForRequest(const MutableRequest &request, Completion withCompletion)
{
    if (!DVState::shared().appLaunched || !m_loginForm)
        return withCompletion(dv_noTokenFound());
    m_waitingForLogin.append({request, withCompletion, accessToken(), m_logOuts});
    const auto open = m_loginAnswer.lock();
    if (!open || !open->isAwaited())
        openLoginForm();
}

void DVSession::openLoginForm()
{
    const auto answer = std::make_shared<LoginAnswer>([this](bool cancelled) { loginEnded(cancelled); });
    m_loginAnswer = answer;
    m_loginForm([answer](bool cancelled) { answer->give(cancelled); });
}

void DVSession::loginEnded(bool cancelled)
{
    const auto ended = std::exchange(m_waitingForLogin, {});
    for (const Waiting &each : ended) {
        if (cancelled)
            each.completion(
                DVError{QStringLiteral("dorvane.SDK"), 401, QStringLiteral("Login cancelled by user")});
        else if (!sign(each))
            each.completion(dv_noTokenFound());
    }
}

void DVSession::setProxy(QObject *proxy)
{
    m_proxy = proxy;
    if (proxy)
        QObject::connect(proxy, &QObject::destroyed,
                         [] { DVMainQueue::post([] { sharedInstance().publish(); }); });
    publish();
}

void DVSession::authorizeRequestFromProxy(const MutableRequest &request, Completion withCompletion)
{
    const auto answered = [this, withCompletion](const DVErrorOr &error, const QString &token) {
        DVSecrets::remember(token);
        if (!error && !m_userInfo) {
            m_userInfo = userInfoFromToken(token);
            publish();
        }
        withCompletion(error);
    };
    dv_askProxy(m_proxy, request, answered, m_proxyTimeoutMs);
}

void DVSession::logOut()
{
    ++m_epoch;
    ++m_logOuts;
    if (m_token)
        DVApi::logOutWithRefreshToken(dv_textMember(*m_token, refreshTokenKey));
    {
        const DVUserDefaults::Batch batch;
        for (const auto &key : {u"DVWorkflowStep"_qs, u"DVLocale"_qs, u"DVStatuses"_qs})
            DVUserDefaults::standard().removeKey(key);
        DVSavedSignIn::disown();
    }
    DVKeychain::deleteValueForKey(QStringLiteral("userId"));
    DVSavedSignIn::remove();
    m_token.reset();
    m_userInfo.reset();
    forgetAnswers();
    if (m_deleteEdits)
        m_deleteEdits();
    if (m_resetController)
        m_resetController();
    publish();
    DVMainQueue::post([ended = std::exchange(m_waitingForLogin, {})] {
        for (const Waiting &each : ended)
            each.completion(dv_noTokenFound());
    });
}

void DVSession::forget()
{
    ++m_epoch;
    ++m_logOuts;
    m_refreshes = 0;
    m_failedRefreshes.clear();
    m_waitingForLogin.clear();
    m_loginAnswer.reset();
    m_loginForm = {};
    m_resetController = m_deleteEdits = m_changed = {};
    m_token.reset();
    m_userInfo.reset();
    forgetAnswers();
    m_proxy.clear();
    publish();
}

QString DVSession::accessToken() const
{
    return m_token ? dv_textMember(*m_token, accessTokenKey) : QString();
}

bool DVSession::isLoggedIn() const
{
    return isDemo() || m_token;
}

bool DVSession::isDemo() const
{
    return dv_isDemonstrationProxy(m_proxy) && dv_hostSettingsContainAppetizeHost();
}

std::optional<QJsonObject> DVSession::userInfoFromToken(const QString &jwt)
{
    const QStringList pieces = jwt.split(u'.');
    if (pieces.size() < 2)
        return {};
    QByteArray payload = pieces.at(1).toUtf8();
    while (payload.size() % 4 != 0)
        payload += '=';
    payload.replace('-', '+').replace('_', '/');
    const auto claims =
        QByteArray::fromBase64Encoding(std::move(payload), QByteArray::AbortOnBase64DecodingErrors);
    const QJsonDocument document = claims ? QJsonDocument::fromJson(*claims) : QJsonDocument();
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

QString DVSession::authorizationUrl()
{
    return DVServerUrl::baseUrlForServer(DVServerSso) %
           u"/auth/realms/Dorvane/protocol/openid-connect/"
           u"auth?response_type=code&client_id=ios-sdk&redirect_uri=" %
           redirectScheme % u"login/";
}
