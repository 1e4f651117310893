// Options of the start call, with values of any type that QVariant knows: a value of another type than
// asked for reads as absent, at most one mode is on and only the one that was named, and a start that is
// refused or disabled leaves the library off. Input: entries, each a key, a type and what that type takes.
#include "FuzzTarget.h"

#include <DVAPISession.h>
#include <DVMainController.h>
#include <DVOptions.h>
#include <DVServerUrl.h>

#include <Dorvane/Dorvane.h>

#include <QDateTime>
#include <QJsonObject>
#include <QJsonValue>
#include <QLocale>
#include <QSize>
#include <QUrl>
#include <QUuid>

#include <bit>
#include <limits>

namespace {

constexpr const char *keys[] = {
    "mode",        "otaKey",    "apiUserId",         "logging",     "UITests", "apiUserSecret",
    "syncTimeout", "analytics", "allowLocaleChange", "environment", "servers", "forceLocale"};
constexpr const char *serverKeys[] = {"api", "sso", "delivery", "deliveryCdn"};
constexpr const char *words[] = {"DVOTAServing",
                                 "DVInAppReview",
                                 "DVContextCapture",
                                 "DVInAppReviewAndContextCapture",
                                 "DVDisabled",
                                 "DVLoggingDebug",
                                 "DVLoggingInfo",
                                 "stage",
                                 "https://host.example",
                                 "http://127.0.0.1:1",
                                 "true",
                                 "1"};

QString takeText(FuzzInput &in)
{
    return QString::fromUtf8(in.take(in.byte() % 32));
}

QVariantMap takeMap(FuzzInput &in, int depth);

QVariant takeNumber(FuzzInput &in, quint8 type)
{
    const quint64 bits = in.number(8);
    const QVariant values[] = {std::bit_cast<double>(bits),
                               std::bit_cast<float>(quint32(bits)),
                               int(bits),
                               uint(bits),
                               qint64(bits),
                               bits,
                               QVariant::fromValue(short(bits)),
                               QVariant::fromValue(static_cast<unsigned long>(bits)),
                               QVariant::fromValue(static_cast<signed char>(bits)),
                               QVariant::fromValue(long(bits))};
    return values[type % std::size(values)];
}

QVariant takeObject(FuzzInput &in, quint8 type)
{
    const QString text = takeText(in);
    const QVariant values[] = {text.toUtf8(),
                               QStringList{text},
                               QVariantHash{{text, text}},
                               QDateTime::fromSecsSinceEpoch(text.size()),
                               QUrl(text),
                               QJsonObject{{text, text}},
                               QJsonValue(text),
                               QUuid(text),
                               QVariant::fromValue(QLatin1Char('1')),
                               QVariant(QLocale(text))};
    return values[type % std::size(values)];
}

QVariant takeValue(FuzzInput &in, int depth)
{
    const quint8 kind = in.byte();
    const quint8 type = in.byte();
    switch (kind % 10) {
    case 0:
        return QVariant(QMetaType(type)); // the type's own default, for every built-in type
    case 1:
        return takeNumber(in, type);
    case 2:
        return takeObject(in, type);
    case 3:
        return takeText(in);
    case 4:
        return QVariant(QString());
    case 5:
        return depth > 0 ? QVariant(takeMap(in, depth - 1)) : QVariant(QVariantList{takeText(in)});
    case 6:
        return bool(type & 1);
    case 7:
        return QVariant::fromValue(nullptr);
    default:
        return QString::fromLatin1(words[type % std::size(words)]);
    }
}

// At most the sixteen keys that a byte's lower half names; above, a key of the "servers" map or any text.
QVariantMap takeMap(FuzzInput &in, int depth)
{
    QVariantMap map;
    while (!in.isEmpty()) {
        const quint8 choice = in.byte();
        if (choice == 0)
            break;
        const quint8 low = choice & 0x0F;
        const QString key = low < std::size(keys) && depth > 1 ? QString::fromLatin1(keys[low])
                            : depth > 1                        ? takeText(in)
                                                               : QString::fromLatin1(serverKeys[low % 4]);
        map.insert(key, takeValue(in, depth));
    }
    return map;
}

// ---- what the options say, read another way ----

bool isText(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<QString>() && !value.value<QString>().isNull();
}

template<typename... Types> bool isOneOf(const QVariant &value)
{
    return (... || (value.metaType() == QMetaType::fromType<Types>()));
}

bool isNumber(const QVariant &value)
{
    return isOneOf<double, float, int, uint, long, unsigned long, qlonglong, qulonglong, short, ushort>(
        value);
}

void checkReads(const QVariantMap &map)
{
    for (auto it = map.begin(); it != map.end(); ++it) {
        const QByteArray name = it.key().toLatin1();
        if (QString::fromLatin1(name) != it.key())
            continue;
        const QLatin1StringView key(name);
        FUZZ_CHECK(DVOptions::string(map, key).has_value() == isText(*it));
        FUZZ_CHECK(DVOptions::integer(map, key).has_value() == isNumber(*it));
        FUZZ_CHECK(DVOptions::boolean(map, key).has_value() == (isNumber(*it) || isOneOf<bool>(*it)));
        FUZZ_CHECK(DVOptions::map(map, key).has_value() == isOneOf<QVariantMap>(*it));
        if (isOneOf<bool>(*it))
            FUZZ_CHECK(DVOptions::boolean(map, key) == it->value<bool>());
        if (isOneOf<int, short, uint>(*it))
            FUZZ_CHECK(DVOptions::integer(map, key) == it->toLongLong());
    }
}

void switchOff()
{
    auto &state = DVState::shared();
    for (auto *flag : {&state.debug, &state.editionMode, &state.servingMode, &state.screenshotMode,
                       &state.mixedMode, &state.allowLocaleChange, &state.uiTest})
        *flag = false;
    state.log = true;
    state.analyticsEnabled = false;
    state.pullTimeout = 0;
    state.setAesKey({});
    auto &session = DVAPISession::sharedInstance();
    session.userId = session.userSecret = QString();
}

QString textIn(const QVariantMap &map, QLatin1StringView key)
{
    const QVariant value = map.value(key);
    return isText(value) ? value.value<QString>() : QString();
}

// Whether the options that the mode needs are there.
bool modeIsComplete(const QVariantMap &map)
{
    const QString mode = textIn(map, QLatin1StringView("mode"));
    const auto has = [&](QLatin1StringView key) { return isText(map.value(key)); };
    if (mode == u"DVOTAServing")
        return has(DVOTAKey);
    if (mode == u"DVContextCapture" || mode == u"DVInAppReviewAndContextCapture")
        return has(DVAPIUserId) && has(DVAPIUserSecret);
    return true;
}

void checkModes(const QString &mode)
{
    const auto &state = DVState::shared();
    FUZZ_CHECK(state.servingMode == (mode == u"DVOTAServing"));
    FUZZ_CHECK(state.screenshotMode == (mode == u"DVContextCapture"));
    FUZZ_CHECK(state.mixedMode == (mode == u"DVInAppReviewAndContextCapture"));
    FUZZ_CHECK(state.editionMode == (mode == u"DVInAppReview" || state.mixedMode));
    FUZZ_CHECK(state.servingMode + state.screenshotMode + state.editionMode <= 1);
}

void checkParsing(const QVariantMap &map)
{
    switchOff();
    const bool started = DVMainController::sharedInstance().parseLaunchOptions(map);
    checkModes(textIn(map, QLatin1StringView("mode")));
    const QVariant servers = map.value(QLatin1StringView("servers"));
    const bool serversAreFine =
        DVServerUrl::setServers(isOneOf<QVariantMap>(servers) ? servers.toMap() : QVariantMap()).isNull();
    FUZZ_CHECK(started == (modeIsComplete(map) && serversAreFine));
    if (!started)
        return;
    const auto &state = DVState::shared();
    if (!isNumber(map.value(QLatin1StringView("syncTimeout"))))
        FUZZ_CHECK(state.pullTimeout == 3);
    FUZZ_CHECK(dorvaneEnvironment == (textIn(map, QLatin1StringView("environment")) == u"stage" ? 0 : 1));
    if (state.servingMode)
        FUZZ_CHECK(state.aesKey() == textIn(map, DVOTAKey));
    else
        FUZZ_CHECK(state.aesKey().isNull() && !state.allowLocaleChange);
}

// Neither goes on to the network.
void checkRefusedStarts(QVariantMap map)
{
    switchOff();
    auto &controller = DVMainController::sharedInstance();
    controller.startWithProjectId(QString(), map);
    map.insert(QStringLiteral("mode"), QStringLiteral("DVDisabled"));
    controller.startWithProjectId(QStringLiteral("project"), map);
    checkModes({});
    FUZZ_CHECK(!controller.appLaunched() && !controller.stringsNeedCues() && !controller.baseLocaleStrings());
}

} // namespace

void fuzz_options(QByteArrayView input)
{
    FuzzInput in(input);
    const quint8 choice = in.byte();
    const QVariantMap map = takeMap(in, 2);
    checkReads(map);
    checkParsing(map);
    if (choice == 0) // it asks the host's settings each time
        checkRefusedStarts(map);
    switchOff();
}
