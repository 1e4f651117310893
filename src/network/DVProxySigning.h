// How the session asks a demonstration's proxy to sign a request.
#pragma once

#include <Dorvane/DVProxy.h>

#include <functional>
#include <memory>

class QObject;

using DVProxyToken = std::function<void(const DVErrorOr &, const QString &accessToken)>;

// The name that the proxy's class must have, in any namespace.
bool dv_isDemonstrationProxy(const QObject *proxy);

// Completes once, on the main thread: with what the proxy says, or with "No token found" when it has no such
// method, drops the completion, or has not called it after so many milliseconds.
void dv_askProxy(QObject *proxy, const std::shared_ptr<DVHttpRequest> &request, DVProxyToken completion,
                 int timeoutMs);

// Domain "dorvane.SDK", code 401: nobody is signed in.
DVError dv_noTokenFound();
