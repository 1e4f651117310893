// DVProxy: what an application implements that signs the library's requests itself.
#pragma once

#include <Dorvane/DVError.h>
#include <Dorvane/DorvaneGlobal.h>

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <memory>

// In a hosted demonstration nobody signs in: where the application's settings (QSettings) hold
// "appetize-host" and a proxy was set whose class is named DVAppetize, in any namespace, every request that a
// translator would sign goes to it. The class has no base of ours; it is asked by name:
//
//     class DVAppetize : public QObject
//     {
//         Q_OBJECT
//     public:
//         Q_INVOKABLE void getTokenFromProxyForRequest(const DVProxyRequest &request,
//                                                      const DVProxyCompletion &withCompletion);
//     };
//
// It adds its credentials to the request, then or later, and calls the completion, all on the main thread.
// A request fails with "No token found" where the method is missing, where every copy of the completion is
// destroyed without a call, and where none was called within a minute.

struct DVHttpRequest;
class DVProxyAnswer;

// A request about to be sent. Copies are the same request. Changes after the completion have no effect.
class DORVANE_EXPORT DVProxyRequest
{
public:
    DVProxyRequest(); // of nothing
    explicit DVProxyRequest(std::shared_ptr<DVHttpRequest> request);
    DVProxyRequest(const DVProxyRequest &);
    DVProxyRequest &operator=(const DVProxyRequest &);
    ~DVProxyRequest();

    QByteArray method() const;
    QUrl url() const;
    QByteArray body() const;
    QByteArray rawHeader(const QByteArray &name) const; // null without one
    // Not with a line break in it; such a header is left out.
    void setRawHeader(const QByteArray &name, const QByteArray &value);

private:
    std::shared_ptr<DVHttpRequest> m_request;
};

// Says that the request is signed, or why not. Copies are the same; the first call counts.
class DORVANE_EXPORT DVProxyCompletion
{
public:
    DVProxyCompletion(); // of nothing
    explicit DVProxyCompletion(std::shared_ptr<DVProxyAnswer> answer);
    DVProxyCompletion(const DVProxyCompletion &);
    DVProxyCompletion &operator=(const DVProxyCompletion &);
    ~DVProxyCompletion();

    // `accessToken` (may be null) tells who is signed in: the claims of a JSON Web Token (RFC 7519) are read.
    void operator()(const DVErrorOr &error, const QString &accessToken) const;

private:
    std::shared_ptr<DVProxyAnswer> m_answer;
};
