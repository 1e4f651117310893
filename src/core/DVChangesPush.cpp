#include "DVChangesPush.h"

#include "DVApi.h"
#include "DVEditedFile.h"
#include "DVLog.h"
#include "DVMainQueue.h"
#include "DVPendingIssues.h"
#include "DVSession.h"
#include "DVUserDefaults.h"

#include <QNetworkReply>

namespace {

bool hasSameTexts(const DVStringGroup &one, const DVStringGroup &other)
{
    if (one.pluralForms.size() != other.pluralForms.size())
        return false;
    for (auto form = one.pluralForms.begin(); form != one.pluralForms.end(); ++form) {
        const DVStringPtr counterpart = other.pluralForms.value(form.key());
        if (!counterpart || counterpart->localizedFormat != (*form)->localizedFormat)
            return false;
    }
    return true;
}

DVStringGroups copies(DVStringGroups groups)
{
    for (auto &group : groups)
        group = group->copy();
    return groups;
}

// Those of `groups` that the store still holds.
DVStringGroups stillIn(const DVStringGroups &store, DVStringGroups groups)
{
    groups.removeIf([&](const auto &entry) { return !store.contains(entry.key()); });
    return groups;
}

// Strings that the platform cannot know: a decision about them is never sent. With why, by key.
QMap<QString, QStringList> takeUnknown(DVStringGroups &groups)
{
    QMap<QString, QStringList> unknown;
    groups.removeIf([&](const auto &entry) {
        const bool isUnknown = (*entry)->uid().isEmpty();
        if (isUnknown)
            unknown.insert(entry.key(), {QStringLiteral("No hashcode for this string")});
        return isUnknown;
    });
    return unknown;
}

template<typename Keys> void removeKeys(DVStringGroups &groups, const Keys &keys)
{
    for (const QString &key : keys)
        groups.remove(key);
}

} // namespace

DVStringChanges DVStringChanges::of(const DVLocaleStrings &strings)
{
    return {strings.dirtyStrings(), strings.acceptedStrings(), strings.rejectedStrings(), {}};
}

void DVStringChanges::discard(const QString &key)
{
    edited.remove(key);
    accepted.remove(key);
    rejected.remove(key);
    discarded.insert(key);
}

DVChangesPush::DVChangesPush(std::shared_ptr<DVLocaleStrings> strings, DVStringChanges changes,
                             DVTransferPtr transfer)
    : m_strings(std::move(strings))
    , m_changes(std::move(changes))
    , m_transfer(std::move(transfer))
{}

// What is under way is the platform's to finish; what would follow is not sent.
bool DVChangesPush::stopsHere(const Completion &completion) const
{
    if (!(m_transfer && m_transfer->isCancelled()) && !m_strings->isRetired())
        return false;
    Outcome outcome;
    outcome.error = DVError{QStringLiteral("dorvane.network"), QNetworkReply::OperationCanceledError,
                            QStringLiteral("Operation canceled")};
    DVMainQueue::post([completion, outcome] { completion(outcome); });
    return true;
}

// Texts

void DVChangesPush::save(Completion completion)
{
    if (stopsHere(completion))
        return;
    m_sent = copies(stillIn(m_strings->dirtyStrings(), m_changes.edited));
    DVApi::saveStrings(
        DVEditedFile::translated(m_sent), m_strings->xliffHeader(),
        [self = shared_from_this(), completion](const DVErrorOr &error,
                                                const QMap<QString, QStringList> &failures) {
            Outcome outcome;
            if (error)
                outcome.error = error;
            else
                outcome = self->saved(failures);
            completion(outcome);
        },
        m_transfer);
}

DVChangesPush::Outcome DVChangesPush::saved(const QMap<QString, QStringList> &failures)
{
    Outcome outcome;
    outcome.failed = failures;
    DVStringGroups taken = m_sent;
    removeKeys(taken, failures.keys());
    outcome.done = taken.keys();
    DVStringGroups left = m_strings->dirtyStrings();
    left.removeIf([&](const auto &entry) {
        const DVStringGroupPtr sent = taken.value(entry.key());
        return m_changes.discarded.contains(entry.key()) || (sent && hasSameTexts(*entry.value(), *sent));
    });
    m_strings->keepSavedStrings(taken);
    DVStringGroups accepted = m_strings->acceptedStrings();
    DVStringGroups rejected = m_strings->rejectedStrings();
    for (DVStringGroups *groups : {&accepted, &rejected, &m_changes.accepted, &m_changes.rejected})
        removeKeys(*groups, failures.keys());
    m_strings->setDirtyStrings(left);
    m_strings->setAcceptedStrings(accepted);
    m_strings->setRejectedStrings(rejected);
    m_strings->saveDirty();
    m_changes.edited.clear();
    return outcome;
}

// Decisions

void DVChangesPush::submit(Completion completion)
{
    decide(false, completion);
}

void DVChangesPush::reject(Completion completion)
{
    decide(true, completion);
}

void DVChangesPush::decide(bool rejection, const Completion &completion)
{
    if (stopsHere(completion))
        return;
    DVStringGroups &sent = rejection ? m_changes.rejected : m_changes.accepted;
    sent = stillIn(rejection ? m_strings->rejectedStrings() : m_strings->acceptedStrings(), sent);
    m_unknown = takeUnknown(sent);
    m_logOuts = DVSession::sharedInstance().logOuts();
    const auto answered = [self = shared_from_this(), rejection,
                           completion](const DVErrorOr &error, const QList<DVStringGroupPtr> &failed) {
        completion(self->decided(error, failed, rejection));
    };
    if (rejection)
        DVApi::rejectStrings(sent.values(), answered);
    else
        DVApi::submitStrings(sent.values(), answered);
}

// What the platform took is no decision of the translator's any more; a rejection has become an issue to
// file, and both facts reach the disk together.
DVChangesPush::Outcome DVChangesPush::decided(const DVErrorOr &error, const QList<DVStringGroupPtr> &failed,
                                              bool rejection)
{
    Outcome outcome;
    outcome.error = error;
    DVStringGroups &sent = rejection ? m_changes.rejected : m_changes.accepted;
    for (const auto &string : failed) {
        outcome.failed.insert(string->key, {});
        sent.remove(string->key);
    }
    outcome.failed.insert(std::exchange(m_unknown, {}));
    outcome.done = sent.keys();
    DVStringGroups left = rejection ? m_strings->rejectedStrings() : m_strings->acceptedStrings();
    removeKeys(left, outcome.done);
    removeKeys(left, m_changes.discarded);
    const QList<DVStringGroupPtr> done = std::exchange(sent, {}).values();
    const DVUserDefaults::Batch batch;
    if (rejection) {
        m_strings->setRejectedStrings(left);
        if (m_logOuts == DVSession::sharedInstance().logOuts()) // not for whoever signs in next
            DVPendingIssues::add(done, m_strings->locale());
    } else {
        m_strings->setAcceptedStrings(left);
    }
    m_strings->saveDirty();
    return outcome;
}

// Issues

void DVChangesPush::fileIssues(Completion completion)
{
    QStringList keys;
    for (const auto &issue : DVPendingIssues::all())
        keys.append(issue.key);
    fileNext(keys, std::make_shared<Outcome>(), completion);
}

void DVChangesPush::fileIssue(const QString &key, Completion completion)
{
    fileNext({key}, std::make_shared<Outcome>(), completion);
}

void DVChangesPush::fileNext(const QStringList &keys, const std::shared_ptr<Outcome> &outcome,
                             const Completion &completion)
{
    const auto issues = DVPendingIssues::all();
    const auto issue =
        std::find_if(issues.begin(), issues.end(), [&](const auto &one) { return keys.contains(one.key); });
    if (issue == issues.end())
        return DVMainQueue::post([completion, outcome] { completion(*outcome); });
    if (stopsHere(completion))
        return;
    QStringList others = keys;
    others.removeAll(issue->key);
    DVApi::createIssueForString(issue->string(), [self = shared_from_this(), filed = *issue, others, outcome,
                                                  completion](const DVErrorOr &error) {
        if (error) {
            dv_logInfo(QString(u"Could not create issue: " + error->description));
            outcome->failed.insert(filed.key, {error->description});
        } else {
            outcome->done.append(filed.key);
        }
        if (!error || !DVPendingIssues::isWorthAnotherTry(*error))
            DVPendingIssues::remove(filed);
        self->fileNext(others, outcome, completion);
    });
}

// All of it

struct DVChangesPush::Run
{
    using Step = void (DVChangesPush::*)(Completion);
    static constexpr Step steps[] = {&DVChangesPush::save, &DVChangesPush::submit, &DVChangesPush::reject,
                                     &DVChangesPush::fileIssues};
    size_t step = 0;
    Outcome outcome;
    Completion completion;

    bool isFilingIssues() const { return steps[step] == &DVChangesPush::fileIssues; }
    // Whether the sending goes on.
    bool take(const Outcome &of)
    {
        const bool wasSaving = step == 0;
        if (!isFilingIssues()) {
            outcome.failed.insert(of.failed);
            outcome.done += of.done;
            if (!outcome.error)
                outcome.error = of.error;
        }
        return ++step < std::size(steps) && !(wasSaving && of.error);
    }
};

void DVChangesPush::pushChangesWithCompletion(Completion completion)
{
    const auto run = std::make_shared<Run>();
    run->completion = std::move(completion);
    next(run);
}

void DVChangesPush::next(const std::shared_ptr<Run> &run)
{
    (this->*Run::steps[run->step])([self = shared_from_this(), run](const Outcome &outcome) {
        if (run->take(outcome))
            self->next(run);
        else
            run->completion(run->outcome);
    });
}
