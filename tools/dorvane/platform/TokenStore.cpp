#include "TokenStore.h"

#include "Secrets.h"

#include <DVPrivateFile.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

const QString tokensFile = QStringLiteral("tokens.json");
constexpr qint64 largestFile = qint64(64) << 20;

QJsonObject toJson(const TokenRecord &record)
{
    const bool isUser = record.caller.kind == Caller::User;
    return {{QStringLiteral("sha256"), QString::fromLatin1(record.fingerprint)},
            {QStringLiteral("kind"),
             record.kind == TokenRecord::Access ? QStringLiteral("access") : QStringLiteral("refresh")},
            {QStringLiteral("session"), record.session},
            {isUser ? QStringLiteral("user") : QStringLiteral("userIdentifier"), record.caller.name},
            {QStringLiteral("expires"), record.expires.toString(Qt::ISODateWithMs)}};
}

TokenRecord fromJson(const QJsonObject &json)
{
    const QJsonValue user = json.value(QStringLiteral("user"));
    const QJsonValue application = json.value(QStringLiteral("userIdentifier"));
    const Caller caller{user.isString() ? Caller::User : Caller::Application,
                        user.isString() ? user.toString() : application.toString()};
    return {json.value(QStringLiteral("sha256")).toString().toLatin1(),
            json.value(QStringLiteral("kind")).toString() == u"access" ? TokenRecord::Access
                                                                       : TokenRecord::Refresh,
            json.value(QStringLiteral("session")).toString(), caller,
            QDateTime::fromString(json.value(QStringLiteral("expires")).toString(), Qt::ISODateWithMs)};
}

bool hasExpired(const TokenRecord &record)
{
    return !record.expires.isValid() || record.expires <= QDateTime::currentDateTimeUtc();
}

} // namespace

std::optional<TokenRecord> TokenStore::find(const QByteArray &token, TokenRecord::Kind kind)
{
    if (m_stamp != FileStamp::of(m_folder.path(tokensFile)))
        read();
    const QByteArray wanted = fingerprint(token);
    const auto record = std::find_if(m_records.begin(), m_records.end(), [&](const TokenRecord &candidate) {
        return candidate.fingerprint == wanted && candidate.kind == kind;
    });
    return record == m_records.end() || hasExpired(*record) ? std::nullopt : std::optional(*record);
}

bool TokenStore::change(const std::function<void(QList<TokenRecord> &)> &edit)
{
    return m_folder.change([this, &edit]() -> QString {
        read();
        m_records.removeIf(hasExpired);
        edit(m_records);
        QJsonArray tokens;
        for (const TokenRecord &record : m_records)
            tokens.append(toJson(record));
        const QJsonObject whole{{QStringLiteral("tokens"), tokens}};
        const QString problem = m_folder.write(tokensFile, QJsonDocument(whole).toJson());
        m_stamp.reset(); // read anew what is there now
        return problem;
    });
}

// A file that is missing or damaged holds no tokens: everybody signs in again.
void TokenStore::read()
{
    m_stamp = FileStamp::of(m_folder.path(tokensFile));
    m_records.clear();
    QByteArray content;
    if (DVPrivateFile::read(m_folder.path(tokensFile), &content, largestFile))
        return;
    const QJsonArray tokens =
        QJsonDocument::fromJson(content).object().value(QStringLiteral("tokens")).toArray();
    for (const QJsonValue token : tokens)
        m_records.append(fromJson(token.toObject()));
}
