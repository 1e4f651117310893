// What is secret by its name.
#include "DVSecrets.h"

#include "DVSecretValues.h"

#include <QJsonArray>
#include <QStringList>

#include <algorithm>
#include <array>

namespace {

constexpr int deepestJson = 64;
constexpr qsizetype shortestToken = 8;

// Lower case, without "_" and "-". What ends in one of these is secret: "id_token", "client_secret".
constexpr std::array<QLatin1StringView, 12> secretEndings = {
    QLatin1StringView("token"),         QLatin1StringView("secret"),    QLatin1StringView("password"),
    QLatin1StringView("passwd"),        QLatin1StringView("pwd"),       QLatin1StringView("passphrase"),
    QLatin1StringView("authorization"), QLatin1StringView("cookie"),    QLatin1StringView("apikey"),
    QLatin1StringView("otakey"),        QLatin1StringView("assertion"), QLatin1StringView("aeskey")};
constexpr std::array<QLatin1StringView, 3> secretNames = {
    QLatin1StringView("codeverifier"), QLatin1StringView("authcode"), QLatin1StringView("issuetext")};

QString normalized(QStringView name)
{
    QString text = name.toString().toLower();
    text.remove(u'_').remove(u'-');
    return text;
}

QString cleanPair(const QString &pair)
{
    const qsizetype equals = pair.indexOf(u'=');
    if (equals < 0)
        return pair;
    const QString name = pair.left(equals);
    if (name == u"data")
        return name % u"=<" % QString::number(pair.size() - equals - 1) % u" characters>";
    if (DVSecrets::isSecretParameter(name))
        return name % u'=' % DVSecrets::redacted;
    return pair;
}

QJsonValue cleanedJson(const QJsonValue &json, int depth)
{
    if (json.isString())
        return DVSecrets::cleanText(json.toString());
    if (depth > deepestJson && (json.isArray() || json.isObject()))
        return QString(DVSecrets::redacted);
    if (json.isArray()) {
        QJsonArray clean;
        const QJsonArray elements = json.toArray();
        for (const QJsonValue element : elements)
            clean.append(cleanedJson(element, depth + 1));
        return clean;
    }
    if (!json.isObject())
        return json;
    QJsonObject clean;
    const QJsonObject members = json.toObject();
    for (auto member = members.begin(); member != members.end(); ++member)
        clean.insert(DVSecretValues::removedFrom(member.key()), DVSecrets::isSecretName(member.key())
                                                                    ? QJsonValue(DVSecrets::redacted)
                                                                    : cleanedJson(member.value(), depth + 1));
    return clean;
}

void rememberTexts(const QJsonValue &json, bool isSecret, int depth)
{
    if (json.isString() && isSecret)
        DVSecrets::remember(json.toString());
    if (depth > deepestJson)
        return;
    const QJsonArray elements = json.toArray();
    for (const QJsonValue element : elements)
        rememberTexts(element, isSecret, depth + 1);
    const QJsonObject members = json.toObject();
    for (auto member = members.begin(); member != members.end(); ++member)
        rememberTexts(member.value(), isSecret || DVSecrets::isSecretName(member.key()), depth + 1);
}

bool isNameCharacter(QChar character)
{
    const char16_t unit = character.unicode();
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'0' && unit <= u'9') || unit == u'_' || unit == u'-';
}

// What a value in running text ends at.
bool endsValue(QChar character)
{
    return character.isSpace() || QStringView(u"&\"'<>,;)}]").contains(character);
}

qsizetype nameBefore(QStringView text, qsizetype end)
{
    qsizetype begin = end;
    while (begin > 0 && isNameCharacter(text[begin - 1]))
        --begin;
    return begin;
}

struct Range
{
    qsizetype begin = 0;
    qsizetype end = 0;
};

// The value that begins there, without its quotes.
Range valueFrom(QStringView text, qsizetype begin)
{
    qsizetype end = begin;
    if (begin == text.size() || text[begin] != u'"') {
        while (end < text.size() && !endsValue(text[end]))
            ++end;
        return {begin, end};
    }
    end = ++begin;
    while (end < text.size() && text[end] != u'"')
        end += text[end] == u'\\' ? 2 : 1;
    return {begin, qMin(end, text.size())};
}

// "name=value", where "=" stands.
Range valueOfPair(QStringView text, qsizetype equals)
{
    const qsizetype begin = nameBefore(text, equals);
    const QStringView name = text.sliced(begin, equals - begin);
    const bool isParameter = begin > 0 && QStringView(u"?&#").contains(text[begin - 1]);
    if (isParameter ? DVSecrets::isSecretParameter(name) : DVSecrets::isSecretName(name))
        return valueFrom(text, equals + 1);
    return {};
}

// "Cookie: value", where ":" stands. Other names are words of a sentence: "Wrong password: too short".
Range valueOfHeader(QStringView text, qsizetype colon)
{
    const qsizetype begin = nameBefore(text, colon);
    const QString name = normalized(text.sliced(begin, colon - begin));
    if (!name.endsWith(u"authorization") && !name.endsWith(u"cookie"))
        return {};
    const qsizetype lineEnd = text.indexOf(u'\n', colon);
    return {colon + 1, lineEnd < 0 ? text.size() : lineEnd};
}

// "\"name\": value", where ":" stands.
Range valueOfMember(QStringView text, qsizetype colon)
{
    const qsizetype nameEnd = colon - 1;
    const qsizetype nameBegin = nameBefore(text, nameEnd);
    if (!DVSecrets::isSecretName(text.sliced(nameBegin, nameEnd - nameBegin)))
        return {};
    qsizetype begin = colon + 1;
    while (begin < text.size() && text[begin] == u' ')
        ++begin;
    return valueFrom(text, begin);
}

// "Bearer value" (RFC 6750), where the blank stands.
Range valueOfScheme(QStringView text, qsizetype blank)
{
    const qsizetype begin = nameBefore(text, blank);
    const QStringView scheme = text.sliced(begin, blank - begin);
    if (scheme.compare(u"bearer", Qt::CaseInsensitive) != 0)
        return {};
    const Range value = valueFrom(text, blank + 1);
    return value.end - value.begin < shortestToken ? Range{} : value; // "the bearer of": no token
}

bool endsAuthority(QChar character)
{
    return character.isSpace() || QStringView(u"/\"<>").contains(character);
}

// "//user:value@host" (RFC 3986, 3.2.1), where ":" stands. A value that should have been percent-encoded and
// was not may hold "?", "#" and "@".
Range valueOfUserInfo(QStringView text, qsizetype colon)
{
    qsizetype begin = colon;
    while (begin > 0 && text[begin - 1] != u':' && text[begin - 1] != u'@' && !endsAuthority(text[begin - 1]))
        --begin;
    if (begin < 2 || text[begin - 1] != u'/' || text[begin - 2] != u'/')
        return {};
    Range value{colon + 1, colon + 1};
    for (qsizetype end = value.begin; end < text.size() && !endsAuthority(text[end]); ++end) {
        if (text[end] == u'@')
            value.end = end;
    }
    return value;
}

Range valueAtColon(QStringView text, qsizetype colon)
{
    if (colon > 0 && text[colon - 1] == u'"')
        return valueOfMember(text, colon);
    const Range userInfo = valueOfUserInfo(text, colon);
    return userInfo.end > userInfo.begin ? userInfo : valueOfHeader(text, colon);
}

Range secretAt(QStringView text, qsizetype position)
{
    switch (text[position].unicode()) {
    case u'=':
        return valueOfPair(text, position);
    case u':':
        return valueAtColon(text, position);
    case u' ':
        return valueOfScheme(text, position);
    default:
        return {};
    }
}

QString withoutNamedSecrets(const QString &text)
{
    QString clean;
    qsizetype copied = 0;
    for (qsizetype position = 0; position < text.size(); ++position) {
        const Range secret = secretAt(text, position);
        if (secret.end <= secret.begin)
            continue;
        clean += QStringView(text).sliced(copied, secret.begin - copied);
        clean += DVSecrets::redacted;
        copied = secret.end;
        position = secret.end - 1;
    }
    return copied == 0 ? text : clean + QStringView(text).sliced(copied);
}

} // namespace

void DVSecrets::rememberIn(const QJsonObject &dictionary)
{
    rememberTexts(dictionary, false, 0);
}

bool DVSecrets::isSecretName(QStringView name)
{
    const QString plain = normalized(name);
    return std::any_of(secretEndings.begin(), secretEndings.end(),
                       [&](QLatin1StringView ending) { return plain.endsWith(ending); }) ||
           std::find(secretNames.begin(), secretNames.end(), plain) != secretNames.end();
}

bool DVSecrets::isSecretParameter(QStringView name)
{
    return name == u"code" || isSecretName(name);
}

QString DVSecrets::cleanText(const QString &text)
{
    return withoutNamedSecrets(DVSecretValues::removedFrom(text));
}

QString DVSecrets::cleanForm(const QString &form)
{
    QStringList pairs = form.split(u'&');
    for (QString &pair : pairs)
        pair = cleanPair(pair);
    return DVSecretValues::removedFrom(pairs.join(u'&'));
}

QString DVSecrets::cleanUrl(const QUrl &url)
{
    QUrl clean = url;
    clean.setPassword({});
    clean.setFragment({}); // never sent, and may carry a token
    if (clean.hasQuery())
        clean.setQuery(cleanForm(clean.query(QUrl::FullyEncoded)), QUrl::TolerantMode);
    return cleanText(clean.toString(QUrl::FullyEncoded));
}

QJsonValue DVSecrets::cleanJson(const QJsonValue &json)
{
    return cleanedJson(json, 0);
}
