// TranslationStore: what became of imported translations, kept in received/translations/<locale>.json.
#pragma once

#include "Catalogue.h"
#include "FileStamp.h"
#include "ReceivedFolder.h"

#include <QHash>
#include <QJsonObject>
#include <QMap>
#include <QString>

#include <functional>
#include <optional>

// Texts that wait in a step of a workflow.
struct PendingTexts
{
    QString step; // uid
    FormTexts targets;
    QString by; // user
    QString at; // ISO 8601, UTC
};

struct StringState
{
    QString hashcode;
    QString key; // one that has another now is another string
    std::optional<PendingTexts> pending;
    FormTexts published; // over those of the folder's file ...
    FormTexts replaced;  // ... as long as the file says this
};

using StringStates = QMap<QString, StringState>; // by hashcode

// To be changed; fresh when the string had none.
StringState &stateFor(const CatalogueString &string, StringStates &states);

// The texts of a string that users see: those that were published here, over those of the folder's file
// unless the file changed since.
FormTexts publishedTexts(const CatalogueString &string, const StringStates &states);
// The latest: what waits, over the published ones.
FormTexts latestTexts(const CatalogueString &string, const StringStates &states);

// The step in which a string waits; null when it waits in none. One whose step is gone from project.json
// waits in the first.
const WorkflowStep *waitingStep(const CatalogueString &string, const StringStates &states,
                                const ProjectWorkflows &workflows, const QString &locale);

// One file for each locale: a string moves from step to step, and to the users, in one rename.
class TranslationStore
{
public:
    TranslationStore(ReceivedFolder &folder, ReceivedFolder::Log log);

    // A file that cannot be read is reported once, and what it held before stays.
    const StringStates &states(const QString &locale);

    // Where the states of a locale are kept.
    QString filePath(const QString &locale) const;

    // Calls `edit` with the states as they are on disk while no other process changes them, and keeps what it
    // leaves. It returns lines for received/statuses.jsonl; without any, nothing is written. False when that
    // failed, or when what is on disk cannot be read: it is not overwritten.
    using Edit = std::function<QList<QJsonObject>(StringStates &)>;
    bool change(const QString &locale, const Edit &edit);

private:
    struct File
    {
        std::optional<FileStamp> stamp;
        StringStates states;
    };

    // Null on success.
    QString read(const QString &locale, File &file) const;

    ReceivedFolder &m_folder;
    ReceivedFolder::Log m_log;
    QHash<QString, File> m_files;
};
