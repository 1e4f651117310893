// DVSecrets: keeps tokens, codes, keys and passwords out of log lines, events and error texts.
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QUrl>

// Two nets, because each has holes that the other covers. By name: what stands under "refresh_token" in a
// header, a query, a form or JSON. By value: a secret that was remembered, wherever it turns up (a server
// that echoes it, an error text with a URL in it). What is found is replaced by "<redacted>". Thread-safe; no
// lock is held when these return, so a host's log handler may run next.
namespace DVSecrets {

inline constexpr QLatin1StringView redacted{"<redacted>"};

enum class Lifetime {
    Passing, // tokens and codes: there is always a next one
    Lasting  // keys and passwords that the host's options give
};

// Each kind keeps its last `maximumRemembered` secrets.
inline constexpr int maximumRemembered = 64;
// Shorter texts are not remembered: the first four characters of a secret may be shown.
inline constexpr int shortestSecret = 5;

// Call it before the secret is used for the first time: when a token, a code, a key is taken.
void remember(const QString &secret, Lifetime lifetime = Lifetime::Passing);
// Every text that stands under a secret's name, at any depth: for answers that bring tokens.
void rememberIn(const QJsonObject &dictionary);
// For tests.
void forgetAll();

// Whether what stands under this name is a secret, or text that a user typed: "refresh_token",
// "refreshToken", "userSecret", "otaKey", "Authorization", "password" and the like.
bool isSecretName(QStringView name);
// The same in queries, fragments and forms, where "code" is an authorization code (RFC 6749, 4.1.2); in JSON
// it is that of an error.
bool isSecretParameter(QStringView name);

// Free text: remembered secrets, as they are and percent-encoded or escaped as in JSON, also cut off; and
// what follows "Bearer", "Cookie:", "password=", "\"token\":" and the like, and passwords in URLs.
QString cleanText(const QString &text);
// "a=1&b=2". "data" carries analytics events; their number of characters says enough.
QString cleanForm(const QString &form);
// Without password and fragment.
QString cleanUrl(const QUrl &url);
QJsonValue cleanJson(const QJsonValue &json);

} // namespace DVSecrets
