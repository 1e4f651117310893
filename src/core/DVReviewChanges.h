// DVReviewChanges: a translator's changes, looked through one by one before they are sent.
#pragma once

#include "DVChangesPush.h"
#include "DVReviewLocaleStrings.h"

#include <QList>

#include <memory>

// Changes of the given store as they are when this is made. Main thread only; owned by shared_ptr, and kept
// alive by a request under way.
class DVReviewChanges : public std::enable_shared_from_this<DVReviewChanges>
{
public:
    // One changed string to decide about.
    struct Card
    {
        QString key;
        DVStringGroupPtr local;
        DVStringGroupPtr upstream; // the platform's now; null when it has none
        bool edited = false;
        bool statusChanged = false;
    };

    explicit DVReviewChanges(std::shared_ptr<DVLocaleStrings> strings);

    // Asks the platform for its translations of now, which the cards are set against. An error too when the
    // published ones did not come and the platform's text of an edited string is therefore unknown.
    void loadChanges(std::function<void(const DVErrorOr &)> completion, const DVTransferPtr &transfer = {});

    // Still to decide, the top one first: edited strings, then accepted and rejected ones that are not,
    // each by their keys. Filled when the changes are loaded.
    const QList<Card> &changes() const { return m_cards; }
    // Edited strings whose text on the platform is no longer the one that was edited. Of the strings that are
    // to be sent; known when the changes are loaded.
    QList<DVStringConflict> conflicts() const;

    // Decide about the top card. Nothing happens without one.
    void discard();
    void keep();

    // What is to be sent: everything that was not discarded. Changes made since this was made are not among
    // it and stay.
    const DVStringChanges &kept() const { return m_kept; }
    // Sends it.
    void save(DVChangesPush::Completion completion, const DVTransferPtr &transfer = {});

private:
    DVErrorOr loadUpstream();
    void createStack();

    const std::shared_ptr<DVLocaleStrings> m_strings;
    const std::shared_ptr<DVReviewLocaleStrings> m_upstream;
    const qsizetype m_count; // of all changes
    DVStringChanges m_kept;
    QList<Card> m_cards;
};
