#include <Dorvane/Dorvane.h>

#include "DVApi.h"
#include "DVMainController.h"
#include "DVSession.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QJsonArray>

namespace {

// The source locale first, then the target locales as the platform lists them.
QVariantList projectLocales(const QJsonObject &info)
{
    QVariantList locales;
    const QJsonValue source = info.value(QLatin1StringView("sourceLocaleId"));
    const QJsonValue description = info.value(QLatin1StringView("sourceLocaleDescription"));
    const auto isGiven = [](const QJsonValue &value) { return !value.isUndefined() && !value.isNull(); };
    if (isGiven(source) && isGiven(description)) {
        locales.append(QVariantMap{{QStringLiteral("localeId"), source.toVariant()},
                                   {QStringLiteral("description"), description.toVariant()},
                                   {QStringLiteral("enabled"), 1},
                                   {QStringLiteral("source"), 1}});
    }
    return locales + info.value(QLatin1StringView("targetLocales")).toArray().toVariantList();
}

} // namespace

DorvaneNotifier::DorvaneNotifier()
{
    DVNotificationCenter::defaultCenter().addObserver(
        this, DorvaneStringsUpdatedNotification, nullptr,
        [this](const DVNotification &) { Q_EMIT stringsUpdated(); });
}

DorvaneNotifier::~DorvaneNotifier() = default;

void Dorvane::startWithProjectId(const QString &projectId, const QVariantMap &andOptions)
{
    DVMainController::sharedInstance().startWithProjectId(projectId, andOptions);
}

DVLocale Dorvane::locale()
{
    return DVMainController::sharedInstance().locale();
}

DVLocale Dorvane::baseLocale()
{
    const auto strings = DVMainController::sharedInstance().baseLocaleStrings();
    return strings ? strings->locale() : DVLocale();
}

QList<DVLocale> Dorvane::availableLocales()
{
    return DVMainController::sharedInstance().availableLocales();
}

void Dorvane::setLocaleWithId(const QString &localeId, std::function<void(bool)> andCompletion)
{
    DVMainController::sharedInstance().changeOTALocale(localeId, andCompletion);
}

void Dorvane::getProjectLocales(std::function<void(const DVErrorOr &, const QVariantList &)> completion)
{
    if (!completion)
        return;
    DVApi::projectInfoWithCompletion(
        [then = std::move(completion)](const DVErrorOr &error, const std::optional<QJsonObject> &info) {
            if (info)
                then({}, projectLocales(*info));
            else
                then(error, {});
        });
}

QString Dorvane::pluralizedStringWithKey(const QString &key, const DVNumber &value)
{
    return DVMainController::sharedInstance().pluralizedStringWithKey(key, value);
}

std::optional<QHash<QString, QString>> Dorvane::baseLocaleStrings()
{
    const auto strings = DVMainController::sharedInstance().baseLocaleStrings();
    return strings ? std::optional(strings->stringsDictionary()) : std::nullopt;
}

std::optional<QHash<QString, QString>> Dorvane::localizedStrings()
{
    const auto strings = DVMainController::sharedInstance().localeStrings();
    return strings ? std::optional(strings->stringsDictionary()) : std::nullopt;
}

void Dorvane::captureWindow(QObject *window, std::function<void(const DVErrorOr &)> withCompletion)
{
    if (withCompletion)
        DVMainController::sharedInstance().captureWindow(window, std::move(withCompletion));
}

void Dorvane::neverMark(const QString &context, const QStringList &keys)
{
    DVMainController::sharedInstance().neverMark(context, keys);
}

DVDiagnostics Dorvane::diagnostics()
{
    return DVMainController::sharedInstance().diagnostics();
}

DVTextOrigin Dorvane::diagnostics(const QString &key, const QString &context, int n)
{
    return DVMainController::sharedInstance().diagnostics(key, context, n);
}

void Dorvane::setProxy(QObject *proxy)
{
    DVSession::sharedInstance().setProxy(proxy);
}

void Dorvane::setMainBundle(const DVBundle &bundle)
{
    DVBundle::setMainBundle(bundle);
}

DorvaneNotifier *Dorvane::notifier()
{
    static auto *notifier = new DorvaneNotifier; // as long as the process
    return notifier;
}
