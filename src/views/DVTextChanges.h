// DVTextChanges: what of a text edit's text has changed since it was last looked at.
#pragma once

#include <QObject>
#include <QPointer>

#include <vector>

class QTextDocument;

// A log of many lines is not read whole for each that is added. In one thread with the document.
class DVTextChanges : public QObject
{
public:
    explicit DVTextChanges(QTextDocument &document);

    // Whether what has changed since the last call holds markers. Another document than the last time counts
    // as one that does, and is followed from now on.
    bool haveCues(QTextDocument &document);

private:
    struct Range // of characters
    {
        int start;
        int end;
    };

    void follow(QTextDocument &document);
    void add(int position, int removed, int added);
    bool holdCues(const Range &range) const;

    QPointer<QTextDocument> m_document;
    int m_length = 0;
    std::vector<Range> m_ranges; // which have changed
};
