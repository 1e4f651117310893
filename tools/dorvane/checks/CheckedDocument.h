// CheckedDocument: the strings of an XLIFF document as the checks look at them.
#pragma once

#include "XmlText.h"

#include <QByteArray>
#include <QString>

#include <utility>
#include <vector>

// A source or a target. Percent signs are as they were written.
struct CheckedText
{
    XmlText content;
    std::vector<std::pair<qsizetype, qsizetype>> placeholderElements; // begin and end in content.text()
    Place element;                                                    // the (first) start tag
    int elements = 0;                                                 // how many went into the text

    const QString &text() const { return content.text(); }
    bool isPresent() const { return elements > 0; }
};

// One <trans-unit> that has a key.
struct CheckedUnit
{
    QString key;
    QString form; // the category that its id names; null when it names none
    Place tag;
    CheckedText source;
    CheckedText target;
    qsizetype file = -1; // index into CheckedDocument::files
};

struct CheckedFile
{
    QString sourceLanguage;
    QString targetLanguage;
    Place tag;
};

// Elements inside a text that are read as if they were not there.
struct LostElement
{
    Place tag;
    QString name;
    qsizetype unit = 0;
};

struct CheckedDocument
{
    QByteArray bytes;
    QString rootName;
    QString version; // of the root element
    Place root;
    std::vector<CheckedFile> files;
    std::vector<CheckedUnit> units;
    std::vector<Place> unitsWithoutKey;
    std::vector<LostElement> lostElements;

    Place placeOf(const CheckedText &text, qsizetype begin, qsizetype length) const;
    // All of a text, or its tag when it is empty.
    Place placeOf(const CheckedText &text) const;
};

// `bytes` must be a document that DVXliffReader reads without an error. Units and texts are those that it
// makes of them.
CheckedDocument checkedDocument(const QByteArray &bytes);

// The form that a unit's id names, as applications read it: "x[one]" gives "one"; what stands behind a second
// "[" does not count.
QString formOfId(const QString &id);
