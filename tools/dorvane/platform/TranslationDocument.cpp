#include "TranslationDocument.h"

#include "MarkedText.h"
#include "XmlCharacters.h"

TranslationDocument::TranslationDocument(const Project &project, const QString &locale)
    : m_document("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                 "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
                 "<file original=\"" +
                 xmlAttribute(project.projectId) + "\" source-language=\"" +
                 xmlAttribute(project.sourceLocale) + "\" target-language=\"" + xmlAttribute(locale) +
                 "\" datatype=\"plaintext\">\n<body>\n")
{}

void TranslationDocument::add(const CatalogueString &string, const FormTexts &texts)
{
    const QString none = QStringLiteral("none");
    if (texts.contains(none))
        addUnit(string, none, texts.value(none));
    if (texts.size() == (texts.contains(none) ? 1 : 0))
        return;
    m_document += "<group restype=\"x-cldr-plurals\">\n";
    for (const QString &category : pluralCategories()) {
        if (texts.contains(category))
            addUnit(string, category, texts.value(category));
    }
    m_document += "</group>\n";
}

void TranslationDocument::addUnit(const CatalogueString &string, const QString &category, const QString &text)
{
    const QString id =
        category == u"none" ? string.hashcode : QStringLiteral("%1[%2]").arg(string.hashcode, category);
    m_document += "<trans-unit id=\"" + xmlAttribute(id) + "\" resname=\"" + xmlAttribute(string.key) +
                  "\">\n<source>" + xliffOfMarkedText(string.sourceOf(category)) + "</source>\n<target>" +
                  xliffOfMarkedText(text) + "</target>\n";
    if (!string.note.isEmpty())
        m_document += "<note>" + xmlContent(string.note) + "</note>\n";
    m_document += "</trans-unit>\n";
}

QByteArray TranslationDocument::finished() const
{
    return m_document + "</body>\n</file>\n</xliff>\n";
}

QByteArray publishedDocument(const Project &project, const QString &locale, const Catalogue &catalogue,
                             const StringStates &states)
{
    TranslationDocument document(project, locale);
    bool isOther = false;
    for (const CatalogueString &string : catalogue.strings()) {
        FormTexts texts = publishedTexts(string, states);
        isOther = isOther || texts != string.targets;
        // An application would show an empty target in place of its own text.
        texts.removeIf([](const FormTexts::iterator &text) { return text->isEmpty(); });
        if (!texts.isEmpty())
            document.add(string, texts);
    }
    return isOther ? document.finished() : QByteArray();
}
