#include "DVSavedSignIn.h"

#include "DVKeychain.h"
#include "DVSecrets.h"
#include "DVUserDefaults.h"

#include <QJsonDocument>
#include <QUuid>

#include <utility>

namespace {

constexpr QLatin1StringView afterLogOutKey("after_log_out");

QString keychainKey()
{
    return QStringLiteral("token");
}

QString signedOutKey()
{
    return QStringLiteral("DVSignedOut");
}

QString signedOutMark()
{
    return DVUserDefaults::standard().stringForKey(signedOutKey()).value_or(QString());
}

void removeMark()
{
    DVUserDefaults::standard().removeKey(signedOutKey());
}

std::optional<QJsonObject> tokenOf(const QString &text)
{
    QJsonObject token = QJsonDocument::fromJson(text.toUtf8()).object();
    DVSecrets::rememberIn(token);
    const QString carried = token.take(afterLogOutKey).toString();
    const QString mark = signedOutMark();
    if (mark.isEmpty())
        return token;
    if (carried != mark) {
        DVSavedSignIn::remove();
        return {};
    }
    removeMark();
    return token;
}

} // namespace

void DVSavedSignIn::save(const QJsonObject &token)
{
    QJsonObject saved = token;
    if (const QString mark = signedOutMark(); !mark.isEmpty())
        saved.insert(afterLogOutKey, mark);
    DVKeychain::saveValue(QString::fromUtf8(QJsonDocument(saved).toJson(QJsonDocument::Compact)),
                          keychainKey(), {}, &removeMark);
}

std::optional<QJsonObject> DVSavedSignIn::load(std::function<void(const QJsonObject &)> later)
{
    const auto arrived = [later = std::move(later)](const QString &text) {
        if (const auto token = tokenOf(text))
            later(*token);
    };
    const auto text = DVKeychain::loadValueForKey(keychainKey(), {}, arrived);
    return text ? tokenOf(*text) : std::nullopt;
}

void DVSavedSignIn::disown()
{
    DVUserDefaults::standard().setString(signedOutKey(), QUuid::createUuid().toString(QUuid::WithoutBraces));
}

void DVSavedSignIn::remove()
{
    DVKeychain::deleteValueForKey(keychainKey(), {}, &removeMark);
}
