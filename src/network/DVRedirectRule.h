// Where a request may go, and where an answer may send it.
#pragma once

#include <QByteArray>

class QUrl;

namespace DVRedirectRule {

bool isRedirect(int status);
bool sameOrigin(const QUrl &a, const QUrl &b);
// Plain HTTP is for servers on this device only.
bool isAllowed(const QUrl &url);
// Nothing may lead to plain HTTP from elsewhere.
bool mayFollow(const QUrl &from, const QUrl &to);
// RFC 9110, 15.4.2 to 15.4.4: "moved" and "found" make a POST a GET by custom, "see other" makes
// everything a retrieval.
bool keepsMethod(const QByteArray &method, int status);

} // namespace DVRedirectRule
