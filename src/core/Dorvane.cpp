#include <Dorvane/Dorvane.h>

#include "DVMainController.h"
#include "DVMainQueue.h"

#include <Dorvane/DVNotificationCenter.h>

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

void Dorvane::captureWindow(QObject *, std::function<void(const DVErrorOr &)> withCompletion)
{
    if (!withCompletion)
        return;
    const DVError error{QStringLiteral("dorvane.SDK"), 500,
                        QStringLiteral("Context capture mode is not enabled")};
    DVMainQueue::post([error, complete = std::move(withCompletion)] { complete(error); });
}

DVDiagnostics Dorvane::diagnostics()
{
    return DVMainController::sharedInstance().diagnostics();
}

DVTextOrigin Dorvane::diagnostics(const QString &key, const QString &context, int n)
{
    return DVMainController::sharedInstance().diagnostics(key, context, n);
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
