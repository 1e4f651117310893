// DVChangesPush: sends what a translator changed to the platform, one kind after the other.
#pragma once

#include "DVLocaleStrings.h"
#include "DVTransfer.h"

#include <Dorvane/DVError.h>

#include <QMap>
#include <QStringList>

#include <functional>
#include <memory>

// Changes to strings of one locale, by key.
struct DVStringChanges
{
    DVStringGroups edited, accepted, rejected;

    static DVStringChanges of(const DVLocaleStrings &strings);
    qsizetype count() const { return edited.size() + accepted.size() + rejected.size(); }
    void discard(const QString &key);
};

// One sending. Whatever the platform acknowledges is taken from the store, and from the device, before the
// next request is made: a process that is killed in between loses nothing and sends nothing twice. Changes
// made to the store meanwhile stay. Those of the store that are not among `changes` are dropped together
// with those that were sent: the translator discarded them. Main thread only; owned by shared_ptr, and kept
// alive by a request under way.
class DVChangesPush : public std::enable_shared_from_this<DVChangesPush>
{
public:
    struct Outcome
    {
        DVErrorOr error;                   // the request failed, or was cancelled
        QMap<QString, QStringList> failed; // strings that the platform refused, with its messages
        QStringList done;                  // keys that it acknowledged

        bool isComplete() const { return !error && failed.isEmpty(); }
    };
    using Completion = std::function<void(const Outcome &)>;

    DVChangesPush(std::shared_ptr<DVLocaleStrings> strings, DVStringChanges changes,
                  DVTransferPtr transfer = {});

    // All steps in their order: edited texts, accepted strings, rejected strings, issues. The outcome holds
    // what could not be saved, submitted or rejected. After a failure to save nothing further is sent;
    // what fails later stays for another time.
    void pushChangesWithCompletion(Completion completion);

    // The steps. A string whose text was refused is neither submitted nor rejected.
    void save(Completion completion);
    void submit(Completion completion);
    void reject(Completion completion);
    // For rejected strings, those of earlier times too. A failure is logged; an issue that may yet be filed
    // is kept.
    void fileIssues(Completion completion);
    void fileIssue(const QString &key, Completion completion);

private:
    struct Run;
    void next(const std::shared_ptr<Run> &run);
    Outcome saved(const QMap<QString, QStringList> &failures);
    Outcome decided(const DVErrorOr &error, const QList<DVStringGroupPtr> &failed, bool rejection);
    void fileNext(const QStringList &keys, const std::shared_ptr<Outcome> &outcome,
                  const Completion &completion);
    bool stopsHere(const Completion &completion) const;

    const std::shared_ptr<DVLocaleStrings> m_strings;
    DVStringChanges m_changes;
    DVStringChanges m_before; // what the store held when a step began; edited ones as copies
    const DVTransferPtr m_transfer;
};
