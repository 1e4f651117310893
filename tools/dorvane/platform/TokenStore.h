// TokenStore: the tokens that were given out and have not expired, kept in received/tokens.json.
#pragma once

#include "FileStamp.h"
#include "ReceivedFolder.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

// Who signed in.
struct Caller
{
    enum Kind { User, Application };

    Kind kind = User;
    QString name; // the user's, or the identifier of the API credentials
    friend bool operator==(const Caller &, const Caller &) = default;
};

struct TokenRecord
{
    enum Kind { Access, Refresh };

    QByteArray fingerprint; // the token itself is kept nowhere
    Kind kind = Access;
    QString session; // tokens of one sign-in share it
    Caller caller;
    QDateTime expires;
};

// So tokens outlive the server, and the file lets nobody in.
class TokenStore
{
public:
    explicit TokenStore(ReceivedFolder &folder)
        : m_folder(folder)
    {}

    // Nothing when it is unknown, of another kind or expired.
    std::optional<TokenRecord> find(const QByteArray &token, TokenRecord::Kind kind);

    // Calls `edit` with the records as they are on disk, unexpired ones only, and keeps what it leaves. False
    // when that failed.
    bool change(const std::function<void(QList<TokenRecord> &)> &edit);

private:
    void read();

    ReceivedFolder &m_folder;
    QList<TokenRecord> m_records;
    std::optional<FileStamp> m_stamp;
};
