// DVUnmarkedTexts: which texts of tr() are never marked.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QStringList>

// Texts whose meaning is for a program, texts of Qt's own, and what the host named. A value: what lookups
// read is published with the rest of their snapshot. Lookups ask it only while texts are marked.
class DVUnmarkedTexts
{
public:
    // See Dorvane::neverMark.
    void add(const QString &context, const QStringList &keys);

    // Whether a text may be marked, by what tr() was asked; all but `sourceText` may be null.
    bool mayMark(const char *context, const char *sourceText) const;

    friend bool operator==(const DVUnmarkedTexts &, const DVUnmarkedTexts &) = default;

private:
    QSet<QByteArray> m_contexts;                 // whole contexts, UTF-8
    QHash<QByteArray, QSet<QByteArray>> m_texts; // by context; of the null one those of every context
};

// Whether a context is one of Qt's own. "QObject", "QApplication" and "QCoreApplication" are not: an
// application's free functions translate in them.
bool dv_isContextOfQt(const char *context);
