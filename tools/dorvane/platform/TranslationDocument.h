// TranslationDocument: an XLIFF 1.2 document of a locale's strings.
#pragma once

#include "TranslationStore.h"

#include <QByteArray>
#include <QString>

class TranslationDocument
{
public:
    TranslationDocument(const Project &project, const QString &locale);

    // One unit for each of the texts. An empty one is an empty target.
    void add(const CatalogueString &string, const FormTexts &texts);
    QByteArray finished() const;

private:
    void addUnit(const CatalogueString &string, const QString &category, const QString &text);

    QByteArray m_document;
};

// What applications are to get when texts were published over those of the folder's file: the strings that
// have a text. Null when none was.
QByteArray publishedDocument(const Project &project, const QString &locale, const Catalogue &catalogue,
                             const StringStates &states);
