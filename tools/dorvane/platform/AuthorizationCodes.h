// AuthorizationCodes: what the sign-in page hands to an application, to be exchanged for tokens once.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QString>

#include <optional>

// RFC 6749, 4.1.2: a code lives shortly; one that is used twice ends what it was exchanged for.
class AuthorizationCodes
{
public:
    QByteArray issue(const QString &user, qint64 lifetimeSeconds);

    struct Use
    {
        std::optional<QString> user; // nothing: the code is not good
        QString sessionToEnd;        // of its first use
    };
    Use use(const QByteArray &code);
    // Which sign-in the code was exchanged for.
    void setSession(const QByteArray &code, const QString &session);

private:
    struct Entry
    {
        QString user;
        QDateTime expires;
        bool used = false;
        QString session;
    };

    QHash<QByteArray, Entry> m_entries; // by fingerprint
};
