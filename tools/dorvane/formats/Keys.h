// Keys: under which key an application's text is kept.
//
// A key is the source text, or the id of applications that ask by identifiers. Where the same source needs
// different translations in different contexts, it is "context U+2404 source", and where that does not
// suffice, "context U+2404 source U+2404 comment": lookups try these first.
#pragma once

#include "LocaleFile.h"
#include "Message.h"

#include <functional>

enum class ContextKeys {
    Auto,  // where translations differ
    Never, // the first translation serves all
    Always,
};

// Messages of one key, in the order of the files.
struct KeyedMessages
{
    QString key;
    QList<const Message *> messages; // at least one
};

// One source text that has different translations.
struct KeyConflict
{
    QList<const Message *> messages; // one for each translation
};

// Two messages that nothing tells apart and that have different translations; the first one counts.
struct DuplicateMessage
{
    const Message *first;
    const Message *second;
};

struct KeyedFile
{
    QList<KeyedMessages> keys; // in the order of the files
    QList<KeyConflict> conflicts;
    QList<DuplicateMessage> duplicates; // the second ones are under no key
    QList<QString> replacedKeys;        // plain keys that keys with contexts take the place of
};

// Of messages that are not obsolete. `isInUse`: whether the folder has the key already; a text that once got
// a key with its context keeps it.
KeyedFile keyedMessages(const QList<Message> &messages, ContextKeys contexts,
                        const std::function<bool(const QString &)> &isInUse);

// The keys that a message may be kept under, the most particular first.
QStringList possibleKeys(const Message &message);
