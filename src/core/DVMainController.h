// DVMainController: owns the run-time configuration and the stores.
#pragma once

#include "DVBaseLocaleStrings.h"
#include "DVLocaleStrings.h"
#include "DVPluralForm.h"
#include "DVPrivateExport.h"
#include "DVState.h"
#include "DVWorkflowStep.h"

#include <Dorvane/DVDiagnostics.h>
#include <Dorvane/DVError.h>
#include <Dorvane/DVLocale.h>

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>

class DVInAppTools;
class DVTranslatorPlace;
class DVUnmarkedTexts;

// One for the process, never destroyed. Main thread only, but for what is said otherwise.
class DVMainController
{
public:
    using Completion = std::function<void(bool success)>;

    DORVANE_PRIVATE_EXPORT static DVMainController &sharedInstance();

    // Views on DVState, where lower floors read them.
    QString appId() const { return DVState::shared().appId(); }
    QString aesKey() const { return DVState::shared().aesKey(); }
    bool appLaunched() const { return DVState::shared().appLaunched; }
    bool log() const { return DVState::shared().log; }
    bool debug() const { return DVState::shared().debug; }
    bool editionMode() const { return DVState::shared().editionMode; }
    bool servingMode() const { return DVState::shared().servingMode; }
    bool screenshotMode() const { return DVState::shared().screenshotMode; }
    bool mixedMode() const { return DVState::shared().mixedMode; }
    bool allowLocaleChange() const { return DVState::shared().allowLocaleChange; }
    bool uiTest() const { return DVState::shared().uiTest; }
    bool stringsNeedCues() const { return DVState::shared().stringsNeedCues(); }
    qint64 pullTimeout() const { return DVState::shared().pullTimeout; } // seconds

    QDateTime launchTime() const { return m_launchTime; }
    std::shared_ptr<DVLocaleStrings> localeStrings() const { return m_localeStrings; }
    void setLocaleStrings(std::shared_ptr<DVLocaleStrings> strings);
    std::shared_ptr<DVBaseLocaleStrings> baseLocaleStrings() const { return m_baseLocaleStrings; }
    void setBaseLocaleStrings(std::shared_ptr<DVBaseLocaleStrings> strings);

    void startWithProjectId(const QString &projectId, const QVariantMap &andOptions);
    // False stops the start; its message is logged.
    bool parseLaunchOptions(const QVariantMap &options);
    void setupBaseLocale();
    void setupServingEvents();

    void autoSetLocale();
    void forceOTALocale(const QString &identifier, bool allowSync, const Completion &withCompletion);
    void changeOTALocale(const QString &identifier, const Completion &andCompletion);
    void refreshStrings();
    void localeDidChange();

    // In-app review and context capture. Without tools both modes stay off; register them before the start.
    // The end of the application removes them.
    DORVANE_PRIVATE_EXPORT void setInAppTools(std::unique_ptr<DVInAppTools> tools);
    // What a start in one of these modes says when there are none.
    void setWhyNoInAppTools(const QString &why) { m_whyNoTools = why; }
    const DVInAppTools *inAppTools() const { return m_tools.get(); }
    // See Dorvane::neverMark.
    void neverMark(const QString &context, const QStringList &keys);
    void setupEditionActions();
    void setupContextActions();
    DORVANE_PRIVATE_EXPORT void setupEditionMode();
    void loadSavedParameters();
    // Without tools it is as if the user had cancelled.
    void openLoginFormWithCompletion(std::function<void(bool cancelled)> completion);
    void captureWindow(QObject *window, std::function<void(const DVErrorOr &)> completion);
    // The step in which the translator works.
    std::optional<DVWorkflowStep> workflowStep() const { return m_workflowStep; }
    void setWorkflowStep(const std::optional<DVWorkflowStep> &step);
    bool editionEnabled() const { return DVState::shared().editionEnabled(); }
    // Forgets the step and the locale's strings, on log out.
    void reset();

    // Reverse lookups of a text shown on screen; null when no string made it.
    DVStringPtr dorvaneStringForLocalizedString(const QString &text) const;
    // `values` (may be null): in, what the empty nested strings in the arguments stand for, from left to
    // right; out, what fills each argument, also one that is empty. Inside a longer argument a nested string
    // goes in as its text.
    DORVANE_PRIVATE_EXPORT DVStringPtr
    dorvaneStringWithNonNestedString(const QString &text, std::optional<QList<DVStringValue>> *values) const;
    // Any thread.
    QString pluralizedStringWithKey(const QString &key, const DVNumber &value) const;

    // Of the locale store, else of the base store, else invalid.
    DVLocale locale() const;
    QList<DVLocale> availableLocales() const;
    QString userEmail() const { return DVState::shared().userEmail(); }
    static QString dorvaneFilesFolder();
    static QString cacheFolder();

    DVDiagnostics diagnostics() const;
    DVTextOrigin diagnostics(const QString &key, const QString &context, int n) const;

    // Publishes what lookups read; announces the change when they would answer differently.
    DORVANE_PRIVATE_EXPORT void publishSnapshot();

    // The application object begins and ends.
    void applicationBegins();
    void applicationEnds();

private:
    DVMainController();

    bool canStart() const;
    // Logs why a start ends here.
    bool failStart(const QString &message);
    bool applyServers(const QVariantMap &options);
    bool parseServingOptions(const QVariantMap &options);
    bool parseCaptureOptions(const QVariantMap &options);
    void clearModesWithoutTools(bool say);
    void runMode(const QVariantMap &options);
    void setupContextCapture();
    void connectSession();
    static void endThreadsWithProcess();

    bool launchTimeIsUp() const;
    void serve(const std::shared_ptr<DVLocaleStrings> &strings);
    bool loadServedStrings();
    void refreshInBackground(const std::shared_ptr<DVLocaleStrings> &strings, const Completion &then);
    enum class Attempt { Served, Failed, Bailed };
    Attempt attemptLocale(int index, const DVLocale &locale, QVariantMap *report, bool *send);
    Attempt syncAtLaunch(const std::shared_ptr<DVLocaleStrings> &strings, const QString &errorKey,
                         QVariantMap *report);
    void fallBackToPackaged(QVariantMap *report);
    void beginChoice(const QString &why);
    void noteAttempt(const DVLocaleStrings &strings, const QString &outcome);
    void noteServed(const DVLocaleStrings &strings, DVNeedsSync needed);
    void noteNothingServed();
    void describeStrings(DVDiagnostics *value) const;

    QDateTime m_launchTime;
    qint64 m_launchMonotonic = 0; // nanoseconds; the wall clock may jump
    std::shared_ptr<DVLocaleStrings> m_localeStrings;
    std::shared_ptr<DVBaseLocaleStrings> m_baseLocaleStrings;
    DVDiagnostics m_record; // what only the moment itself can tell; the rest is filled in when asked for
    std::optional<DVWorkflowStep> m_workflowStep;
    std::unique_ptr<DVInAppTools> m_tools;
    QString m_whyNoTools;
    std::shared_ptr<const DVUnmarkedTexts> m_unmarkedTexts;
    std::unique_ptr<DVTranslatorPlace> m_translatorPlace;
    std::unique_ptr<QObject> m_foregroundWatch;
    QList<int> m_observers;
};
