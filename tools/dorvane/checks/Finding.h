// Finding: one thing that is wrong in a document, and where.
#pragma once

#include <QString>
#include <QtGlobal>

#include <vector>

enum class Severity { Note, Warning, Error };

// The rules, in the order of the table in Rule.cpp.
enum class RuleId {
    Xml,
    NotXliff,
    Limit,
    MissingKey,
    DuplicateKey,
    SeveralTargets,
    InlineElement,
    MissingPlaceholder,
    ExtraPlaceholder,
    ChangedPlaceholder,
    RepeatedPlaceholder,
    LoosePlaceholder,
    StrayPercent,
    MissingPlural,
    SuperfluousPlural,
    UnknownPlural,
    Markup,
    Entity,
    CueMarker,
    EmptyTarget,
    SameAsSource,
    Mnemonic,
    KeySequence,
    Space,
    LineFeeds,
    Punctuation,
    ControlCharacter,
    Bidi,
    Untranslated,
    UnknownKey,
    Language,
    Count
};

// Bytes of the document. An empty place is a point in it.
struct Place
{
    qsizetype begin = 0;
    qsizetype length = 0;
};

struct Finding
{
    RuleId rule = RuleId::Xml;
    Severity severity = Severity::Error;
    Place place;
    QString message; // a sentence without its full stop
    QString key;     // of the string; null when it concerns none
    QString form;    // its plural category; null when there is none
};

using FindingList = std::vector<Finding>;
