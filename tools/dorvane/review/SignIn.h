// SignIn: a user who signs in on the platform's web page, without a browser.
#pragma once

#include "SignInForm.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <functional>

class QNetworkReply;

// One page after the other, as a browser would, until a redirect leads to the application. Forms that ask for
// no password, such as one for consent, are sent as they stand. Nothing goes over plain http but on this
// device.
class SignIn : public QObject
{
    Q_OBJECT

public:
    // Called once, from the event loop: a null problem comes with the authorization code.
    using Done = std::function<void(const QString &problem, const QString &code)>;

    SignIn(QString user, QString password, Done done, QObject *parent);

    void open(const QUrl &page);

private:
    void send(const QUrl &url, const QByteArray &method, const QByteArray &body);
    void answered(QNetworkReply *reply);
    void redirected(const QUrl &target, bool keepsMethod);
    void arrived(const QUrl &target);
    void shown(const QByteArray &page, const QUrl &url);
    void finish(const QString &problem, const QString &code = {});

    QNetworkAccessManager m_network;
    QString m_user;
    QString m_password;
    Done m_done;
    QUrl m_page;         // of the request under way
    QByteArray m_method; // of it
    QByteArray m_body;
    int m_requests = 0;
    bool m_passwordWasSent = false;
};
