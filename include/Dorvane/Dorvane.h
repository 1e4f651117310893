// Dorvane: the one class that an application talks to.
#pragma once

#include <Dorvane/DVBundle.h>
#include <Dorvane/DVDiagnostics.h>
#include <Dorvane/DVError.h>
#include <Dorvane/DVLocale.h>
#include <Dorvane/DVNumber.h>
#include <Dorvane/DorvaneGlobal.h>

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <functional>
#include <optional>

// Option keys that messages name. The whole list stands at startWithProjectId.
inline constexpr QLatin1StringView DVOTAKey{"otaKey"};
inline constexpr QLatin1StringView DVAPIUserId{"apiUserId"};
inline constexpr QLatin1StringView DVAPIUserSecret{"apiUserSecret"};

// Posted on the default notification centre when served texts may have changed; the sender is the
// store. Dorvane::notifier() has it as a signal.
inline constexpr QLatin1StringView DorvaneStringsUpdatedNotification{"DorvaneStringsUpdatedNotification"};

class DORVANE_EXPORT DorvaneNotifier : public QObject
{
    Q_OBJECT

public:
    ~DorvaneNotifier() override;

Q_SIGNALS:
    // Served texts may have changed. Widgets also get QEvent::LanguageChange when they did.
    void stringsUpdated();

    // Served texts have changed: once for each publication, change of locale or of marking after which
    // lookups answer differently, and never after a refresh that brought nothing new. Emitted when
    // QEvent::LanguageChange reaches the application object, on its thread, before the host handles it.
    void textsChanged();

private:
    friend class Dorvane;
    DorvaneNotifier();
};

// Class operations only. Call them on the main thread, the thread of the QCoreApplication, unless
// said otherwise; none throws, and none fails in a way that the application has to handle.
class DORVANE_EXPORT Dorvane
{
public:
    Dorvane() = delete;

    // clang-format off
    // Starts the library; call it once, after the application object exists and before the first
    // window. `projectId`: the project on the translation platform; null fails. Options (a value of
    // another type than stated reads as absent):
    //
    //   "mode"              "DVDisabled", "DVOTAServing", "DVInAppReview", "DVContextCapture",
    //                       "DVInAppReviewAndContextCapture"; absent or unknown: no mode
    //   "logging"           "DVLoggingInfo" (as when absent), "DVLoggingDebug"; any other value: no log
    //   "otaKey"            base64 text of the AES key of delivered files; required for serving
    //   "allowLocaleChange" boolean, serving only: setLocaleWithId is allowed
    //   "forceLocale"       locale identifier, serving only: instead of the device's locale
    //   "syncTimeout"       seconds that a missing file may hold the start; default 3
    //   "apiUserId", "apiUserSecret"  API credentials; required for context capture
    //   "environment"       "stage", else production
    //   "servers"           map of base URLs "api", "sso", "delivery", "deliveryCdn";
    //                       https, or http on loopback
    //   "analytics"         boolean, default YES: usage events are collected and sent
    //   "UITests"           boolean: the host runs automated user-interface tests
    //
    // With serving, the call holds the thread while it downloads strings that the device does not
    // have, for at most "syncTimeout" per attempt; no event loop runs meanwhile. On another thread,
    // or before there is an application object, it logs one line and does nothing.
    // clang-format on
    static void startWithProjectId(const QString &projectId, const QVariantMap &andOptions = {});

    // The locale now served: of the translations, else the project's base locale; invalid before a start.
    static DVLocale locale();
    static DVLocale baseLocale();

    // The locales for which there are texts without asking the network: those with strings on the
    // device for this version of the application, those packaged with it, the base locale and the one
    // now served; in the order of their identifiers, each once, underscores and hyphens as they were
    // spelt first. The project may have more. Reads two folders; not for a hot path.
    static QList<DVLocale> availableLocales();

    // Changes the served locale at run time; needs "allowLocaleChange". `localeId` in either form
    // ("fr-CA", "fr_CA"). Strings on the device are served at once and refreshed in the background;
    // without any the completion waits for the download. The completion runs on the main thread
    // with whether strings of the locale are served.
    static void setLocaleWithId(const QString &localeId,
                                std::function<void(bool success)> andCompletion = {});

    // Asks the platform which locales the project has: maps with "localeId" and "description", and whatever
    // else the platform says of a locale; the project's source locale first, it has "source" 1. Needs API
    // credentials, or in review mode somebody who is signed in. The completion runs on the main thread; with
    // an error the list is empty.
    static void
    getProjectLocales(std::function<void(const DVErrorOr &, const QVariantList &locales)> completion);

    // The text of `key` in the plural form that fits `value`, in the served locale, else in the base
    // locale, else the main bundle's text. Any thread.
    static QString pluralizedStringWithKey(const QString &key, const DVNumber &value);

    // Key to text; nothing when no such store is set.
    static std::optional<QHash<QString, QString>> baseLocaleStrings();
    static std::optional<QHash<QString, QString>> localizedStrings();

    // Takes a screenshot of a window with the places of its strings. Needs a context-capture mode and
    // the capture tools; completes with an error otherwise, on the main thread.
    static void captureWindow(QObject *window, std::function<void(const DVErrorOr &)> withCompletion);

    // The object that signs requests in a hosted demonstration; see <Dorvane/DVProxy.h>. The caller keeps it;
    // null takes it away.
    static void setProxy(QObject *proxy);

    // The bundle of the host's packaged strings, when it is not where DVBundle::mainBundle looks.
    // Call it before the start.
    static void setMainBundle(const DVBundle &bundle);

    // Texts of tr() that must never carry the invisible markers by which the review tools find strings on the
    // screen: those that a program reads and that do not look like it (file filters, shortcuts, formats and
    // addresses are known by their shape, and Qt's own contexts by their names). `keys`: source texts, or
    // ids; none: the whole context. A null context: those keys in every one. Adds to what was named before;
    // best before the start. Matters in review and capture builds only, and costs nothing in others.
    static void neverMark(const QString &context, const QStringList &keys = {});

    // "Why am I seeing this text?": the state of the library, and where one text comes from. `key` is the
    // source text, or the id; without the context of a tr() text the application's own translators cannot be
    // asked. Costs nothing until it is called; then it looks at files. On another thread than the main one,
    // and without an application object, the answer only says so.
    static DVDiagnostics diagnostics();
    static DVTextOrigin diagnostics(const QString &key, const QString &context = {}, int n = -1);

    // Lives as long as the process.
    static DorvaneNotifier *notifier();
};

// The lookup that answers DVBundle::localizedStringForKey: the served locale's text, else the base
// locale's, else the bundle's own. Any thread.
DORVANE_EXPORT QString DorvaneLocalizedStringForKey(const DVBundle &bundle, const char *selector,
                                                    const QString &key, const QString &value,
                                                    const QString &table);
