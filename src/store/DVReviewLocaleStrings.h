// DVReviewLocaleStrings: what the platform holds of a locale now, pulled fresh and read once.
#pragma once

#include "DVLocaleStrings.h"

#include <QSet>

// An edit whose string has another text on the platform than when it was edited. Texts without markers.
struct DVStringConflict
{
    QString key;
    QString form; // as in DVStringGroup::pluralForms
    QString edit;
    QString before; // the text that was loaded; null: there was none
    QString now;    // the platform's; null: it has none any more

    friend bool operator==(const DVStringConflict &, const DVStringConflict &) = default;
};

// A throw-away copy beside the store of the same locale. It neither clears the edits and statuses of that
// locale nor stores a download date: to look at a review costs nothing. Main thread only.
class DVReviewLocaleStrings : public DVLocaleStrings
{
public:
    static std::shared_ptr<DVReviewLocaleStrings>
    reviewLocaleStringsFromLocaleStrings(const DVLocaleStrings &strings);

    // Reads the pulled files and deletes them, also those that do not parse.
    void loadStrings();
    void clearAllFiles();
    // What an earlier pull left is deleted first, and what this one has brought when it fails.
    void pullWithCompletion(PullCompletion withCompletion, const DVTransferPtr &transfer = {}) override;

    // For every edited form whose text here differs from the one that `edited` has loaded, by key and form.
    // An edit that says what the platform says by now is none. Strings that are not here count only where the
    // published ones could be read. Call it after loadStrings().
    QList<DVStringConflict> conflictsWith(const DVLocaleStrings &edited) const;
    // Keys of edits of which conflictsWith() cannot tell: the published strings could not be read, and the
    // pending ones do not hold them. A string that is new to a locale that has had no published ones is none.
    QSet<QString> untoldConflictsWith(const DVLocaleStrings &edited) const;

    QString publishedFilePath() const override;
    QString pendingFilePath() const override;
    QString dirtyFilePath() const override;
    static bool isReviewFile(const QString &fileName);

    void clearDirtyStrings() override {}
    void clearDirtyStatuses() override {}
    void discardEdits() override {}

protected:
    void noteReviewDownload() override {}

private:
    using DVLocaleStrings::DVLocaleStrings;
    QString reviewFilePath(QStringView kind) const;

    bool m_publishedWasRead = false;
};
