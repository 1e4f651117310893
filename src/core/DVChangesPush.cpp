#include "DVChangesPush.h"

#include "DVApi.h"
#include "DVEditedFile.h"
#include "DVLog.h"
#include "DVMainQueue.h"
#include "DVPendingIssues.h"
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

// Those that were not there before. The platform has seen nothing of them.
DVStringGroups newer(const DVStringGroups &now, const DVStringGroups &before)
{
    DVStringGroups result = now;
    for (auto key = before.keyBegin(); key != before.keyEnd(); ++key)
        result.remove(*key);
    return result;
}

// The same, with those whose texts were changed again.
DVStringGroups newerTexts(const DVStringGroups &now, const DVStringGroups &before)
{
    DVStringGroups result;
    for (auto entry = now.begin(); entry != now.end(); ++entry) {
        const DVStringGroupPtr old = before.value(entry.key());
        if (!old || !hasSameTexts(**entry, *old))
            result.insert(entry.key(), *entry);
    }
    return result;
}

void removeKeys(DVStringGroups &groups, const QStringList &keys)
{
    for (const QString &key : keys)
        groups.remove(key);
}

} // namespace

DVStringChanges DVStringChanges::of(const DVLocaleStrings &strings)
{
    return {strings.dirtyStrings(), strings.acceptedStrings(), strings.rejectedStrings()};
}

void DVStringChanges::discard(const QString &key)
{
    edited.remove(key);
    accepted.remove(key);
    rejected.remove(key);
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
    if (!m_transfer || !m_transfer->isCancelled())
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
    m_before = DVStringChanges::of(*m_strings);
    m_before.edited = copies(m_before.edited);
    DVApi::saveStrings(
        DVEditedFile::translated(m_changes.edited), m_strings->xliffHeader(),
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
    DVStringGroups left = newerTexts(m_strings->dirtyStrings(), m_before.edited);
    DVStringGroups taken;
    for (auto entry = m_changes.edited.begin(); entry != m_changes.edited.end(); ++entry) {
        if (!failures.contains(entry.key()))
            taken.insert(entry.key(), *entry);
        else if (!left.contains(entry.key()))
            left.insert(entry.key(), *entry);
    }
    outcome.done = taken.keys();
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
    if (stopsHere(completion))
        return;
    m_before.accepted = m_strings->acceptedStrings();
    DVApi::submitStrings(m_changes.accepted.values(),
                         [self = shared_from_this(), completion](const DVErrorOr &error,
                                                                 const QList<DVStringGroupPtr> &failed) {
                             completion(self->decided(error, failed, false));
                         });
}

void DVChangesPush::reject(Completion completion)
{
    if (stopsHere(completion))
        return;
    m_before.rejected = m_strings->rejectedStrings();
    DVApi::rejectStrings(m_changes.rejected.values(),
                         [self = shared_from_this(), completion](const DVErrorOr &error,
                                                                 const QList<DVStringGroupPtr> &failed) {
                             completion(self->decided(error, failed, true));
                         });
}

// What the platform took is no decision of the translator's any more; a rejection has become an issue to
// file, and both facts reach the disk together.
DVChangesPush::Outcome DVChangesPush::decided(const DVErrorOr &error, const QList<DVStringGroupPtr> &failed,
                                              bool rejection)
{
    Outcome outcome;
    outcome.error = error;
    DVStringGroups &sent = rejection ? m_changes.rejected : m_changes.accepted;
    DVStringGroups left = rejection ? newer(m_strings->rejectedStrings(), m_before.rejected)
                                    : newer(m_strings->acceptedStrings(), m_before.accepted);
    for (const auto &string : failed) {
        outcome.failed.insert(string->key, {});
        left.insert(string->key, string);
    }
    QList<DVStringGroupPtr> done;
    for (const auto &string : std::as_const(sent)) {
        if (outcome.failed.contains(string->key))
            continue;
        outcome.done.append(string->key);
        done.append(string);
    }
    sent.clear();
    const DVUserDefaults::Batch batch;
    if (rejection) {
        m_strings->setRejectedStrings(left);
        DVPendingIssues::add(done);
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
    const QString key = issue->key;
    QStringList others = keys;
    others.removeAll(key);
    DVApi::createIssueForString(issue->string(), [self = shared_from_this(), key, others, outcome,
                                                  completion](const DVErrorOr &error) {
        if (error) {
            dv_logInfo(QString(u"Could not create issue: " + error->description));
            outcome->failed.insert(key, {error->description});
        } else {
            outcome->done.append(key);
        }
        if (!error || !DVPendingIssues::isWorthAnotherTry(*error))
            DVPendingIssues::remove(key);
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
