// Element spans: where elements stand in a document, so that one can be changed and the rest kept to
// the byte.
#pragma once

#include <QByteArrayView>
#include <QList>

struct ElementSpan
{
    qsizetype name = 0;  // index of the names that were asked for
    qsizetype begin = 0; // of the start tag
    qsizetype end = 0;   // behind the end tag
};

// Of every element of one of these names, in the order in which they begin. The document must be well-formed
// and without a document type declaration.
QList<ElementSpan> elementSpans(QByteArrayView document, const QList<QByteArrayView> &names);

// The tag at the start of `element`, from "<" to ">".
QByteArrayView firstTag(QByteArrayView element);
