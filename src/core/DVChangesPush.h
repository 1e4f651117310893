// DVChangesPush: sends what a translator changed to the platform, one kind after the other.
#pragma once

#include "DVLocaleStrings.h"
#include "DVTransfer.h"

#include <Dorvane/DVError.h>

#include <QMap>
#include <QSet>
#include <QStringList>

#include <functional>
#include <memory>

// Changes to strings of one locale, by key.
struct DVStringChanges
{
    DVStringGroups edited, accepted, rejected;

    QSet<QString> discarded; // keys that are not to be sent, and not to be kept either

    static DVStringChanges of(const DVLocaleStrings &strings);
    qsizetype count() const { return edited.size() + accepted.size() + rejected.size(); }
    void discard(const QString &key);
};

// One sending. Whatever the platform acknowledges is taken from the store, and from the device, before the
// next request is made: a process that is killed in between loses nothing and sends nothing twice. What was
// discarded is dropped together with what was sent. Changes made to the store meanwhile stay, and what was
// taken from it meanwhile is not sent. When another store takes its place, or somebody logs out, the sending
// ends as if it were cancelled. Main thread only; owned by shared_ptr, and kept alive by a request under way.
class DVChangesPush : public std::enable_shared_from_this<DVChangesPush>
{
public:
    struct Outcome
    {
        DVErrorOr error;                   // the request failed, or was cancelled
        QMap<QString, QStringList> failed; // strings that the platform refused or cannot know, and why
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
    void decide(bool rejection, const Completion &completion);
    Outcome decided(const DVErrorOr &error, const QList<DVStringGroupPtr> &failed, bool rejection);
    void fileNext(const QStringList &keys, const std::shared_ptr<Outcome> &outcome,
                  const Completion &completion);
    bool stopsHere(const Completion &completion) const;

    const std::shared_ptr<DVLocaleStrings> m_strings;
    DVStringChanges m_changes;
    DVStringGroups m_sent;                // texts as they were when they were sent
    int m_logOuts = 0;                    // when decisions were sent
    QMap<QString, QStringList> m_unknown; // decided strings that could not be sent, and why
    const DVTransferPtr m_transfer;
};
