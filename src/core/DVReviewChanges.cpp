#include "DVReviewChanges.h"

#include "DVAnalytics.h"

namespace {

// Nobody may overwrite what they have not seen.
DVError publishedUnread()
{
    return {
        QStringLiteral("dorvane.SDK"), 500,
        QStringLiteral("The platform's published strings could not be read, so that edits might overwrite "
                       "newer ones. Try again.")};
}

} // namespace

DVReviewChanges::DVReviewChanges(std::shared_ptr<DVLocaleStrings> strings)
    : m_strings(std::move(strings))
    , m_upstream(DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*m_strings))
    , m_count(DVStringChanges::of(*m_strings).count())
    , m_kept(DVStringChanges::of(*m_strings))
{}

void DVReviewChanges::loadChanges(std::function<void(const DVErrorOr &)> completion,
                                  const DVTransferPtr &transfer)
{
    m_upstream->pullWithCompletion(
        [self = shared_from_this(), then = std::move(completion)](const DVErrorOr &error) {
            then(error ? error : self->loadUpstream());
        },
        transfer);
}

DVErrorOr DVReviewChanges::loadUpstream()
{
    m_upstream->loadStrings();
    const QSet<QString> untold = m_upstream->untoldConflictsWith(*m_strings);
    for (auto key = m_kept.edited.keyBegin(); key != m_kept.edited.keyEnd(); ++key) {
        if (untold.contains(*key))
            return publishedUnread();
    }
    createStack();
    return {};
}

void DVReviewChanges::createStack()
{
    m_cards.clear();
    QSet<QString> carded;
    const auto add = [&](const DVStringGroups &groups) {
        for (auto entry = groups.begin(); entry != groups.end(); ++entry) {
            const QString &key = entry.key();
            if (carded.contains(key))
                continue;
            carded.insert(key);
            m_cards.append({key, *entry, m_upstream->loadedStrings().group(key), m_kept.edited.contains(key),
                            m_kept.accepted.contains(key) || m_kept.rejected.contains(key)});
        }
    };
    add(m_kept.edited);
    add(m_kept.accepted);
    add(m_kept.rejected);
}

QList<DVStringConflict> DVReviewChanges::conflicts() const
{
    QList<DVStringConflict> found = m_upstream->conflictsWith(*m_strings);
    found.removeIf(
        [this](const DVStringConflict &conflict) { return !m_kept.edited.contains(conflict.key); });
    return found;
}

void DVReviewChanges::discard()
{
    if (!m_cards.isEmpty())
        m_kept.discard(m_cards.takeFirst().key);
}

void DVReviewChanges::keep()
{
    if (!m_cards.isEmpty())
        m_cards.removeFirst();
}

void DVReviewChanges::save(DVChangesPush::Completion completion, const DVTransferPtr &transfer)
{
    DVAnalytics::trackEvent(QStringLiteral("Save changes"),
                            {{QStringLiteral("Submitted"), m_kept.accepted.size()},
                             {QStringLiteral("Rejected"), m_kept.rejected.size()},
                             {QStringLiteral("Translated"), m_kept.edited.size()},
                             {QStringLiteral("DismissedChanges"), m_count - m_kept.count()}});
    std::make_shared<DVChangesPush>(m_strings, m_kept, transfer)->pushChangesWithCompletion(completion);
}
