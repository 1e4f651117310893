// DVReviewChoices: which locale and which workflow step a translator works in, and getting their strings.
#pragma once

#include "DVLocaleStrings.h"
#include "DVTransfer.h"
#include "DVWorkflowStep.h"

#include <Dorvane/DVError.h>

#include <QList>
#include <QMap>

#include <functional>
#include <memory>

// What a menu offers and does; the choices themselves are DVMainController's. Main thread only; owned by
// shared_ptr, and kept alive by a request under way. Completions come on the main thread, once.
class DVReviewChoices : public std::enable_shared_from_this<DVReviewChoices>
{
public:
    using Completion = std::function<void(const DVErrorOr &)>;
    using Steps = QMap<QString, QList<DVWorkflowStep>>; // by locale identifier, device form

    // Asks for the project and its workflows. A current step that the project no longer has is cleared.
    // When nobody is signed in, "No token found".
    void reload(Completion completion);
    bool isLoading() const { return m_loading; }

    const QList<DVWorkflowStep> &workflowSteps() const { return m_steps; }
    const Steps &sourceLocaleChoices() const { return m_sources; } // steps that translate from the locale
    const Steps &targetLocaleChoices() const { return m_targets; }
    void groupWorkflowsByLocale(const QList<DVWorkflowStep> &steps);

    // Edited, accepted and rejected strings of the current locale that are not sent yet.
    static qsizetype unsavedChanges();

    // Fetches the current locale's strings and serves them. What was changed and not sent is lost: ask
    // before.
    void pull(Completion completion, const DVTransferPtr &transfer = {});

    // Both delete what was changed and not sent, and keep the choice for the next start. The completion comes
    // behind the pull that follows; without a current locale none does.
    void setWorkflowStep(const DVWorkflowStep &step, Completion completion,
                         const DVTransferPtr &transfer = {});
    enum class LocaleChange {
        None,        // there is no step for the locale: nothing has changed
        StepKept,    // the strings were pulled
        StepChanged, // the locale's first step was taken; its strings wait for a pull
    };
    using LocaleCompletion = std::function<void(const DVErrorOr &, LocaleChange)>;
    void setLocale(const DVLocale &locale, LocaleCompletion completion, const DVTransferPtr &transfer = {});

private:
    void loaded(const DVErrorOr &error, const std::optional<QList<DVWorkflowStep>> &steps);

    QList<DVWorkflowStep> m_steps;
    Steps m_sources;
    Steps m_targets;
    bool m_loading = false;
};
