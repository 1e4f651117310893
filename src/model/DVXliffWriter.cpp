#include "DVXliffWriter.h"

#include "DVCueMarkers.h"
#include "DVPrivateFile.h"
#include "DVXliffReader.h"

namespace {

using Failures = DVXliffWriter::Failures;

QString placeholderStart(int number)
{
    return QStringLiteral("<ph id=\"%1\" ctype=\"x-dorvane-placeholder\">").arg(number);
}
constexpr QStringView placeholderEnd = u"</ph>";

// A text with its markers gone and its arguments in placeholders. What stands around an empty argument, which
// gets none, is one text.
void addTaggedText(DVXliffDocument &document, const QString &text)
{
    int number = 0;
    for (const DVTextRun &run : dv_runsInString(text)) {
        if (run.isArgument)
            document.addMarkup(placeholderStart(++number));
        document.addText(dv_stringByRemovingCues(run.text.toString()));
        if (run.isArgument)
            document.addMarkup(placeholderEnd);
    }
}

void addSource(DVXliffDocument &document, const DVString &string, const DVXliffHeader &header)
{
    const DVStringPtr base = header.baseForm ? header.baseForm(string.key, string.pluralForm) : nullptr;
    document.addMarkup(u"<source>");
    if (base && !base->localizedFormat.isNull())
        addTaggedText(document, base->localizedFormat);
    else
        document.addText(u"(null)");
    document.addMarkup(u"</source>\n");
}

// Nothing when the form cannot be written.
std::optional<DVXliffDocument> unitOf(const DVString &string, const QString &phase,
                                      const DVXliffHeader &header)
{
    if (string.localizedFormat.isNull() || string.uid.isNull())
        return {};
    DVXliffDocument unit;
    unit.addMarkup(u"<trans-unit id=\"");
    unit.addAttribute(string.uid);
    unit.addMarkup(u"\" resname=\"");
    unit.addAttribute(string.key);
    unit.addMarkup(u"\" phase-name=\"");
    unit.addAttribute(phase);
    unit.addMarkup(u"\">\n");
    addSource(unit, string, header);
    unit.addMarkup(u"<target>");
    addTaggedText(unit, string.localizedFormat);
    unit.addMarkup(u"</target>\n</trans-unit>\n\n");
    return unit;
}

// Within the limits of our own reader, which refuses the whole file else. Nothing takes more than six bytes
// for a unit of UTF-16, so that a unit this short is.
bool isReadable(const DVXliffDocument &unit)
{
    constexpr qsizetype shortEnough = DVXliffReader::maximumMarkupLength / 6;
    return unit.text().size() <= shortEnough ||
           !DVXliffReader::read(dv_escapedXliff(unit), true, [](const DVXliffUnit &) {});
}

void addHeader(DVXliffDocument &document, const DVXliffHeader &header)
{
    constexpr qsizetype longestName = 1000; // it is for people, and must not make the file unreadable
    document.addMarkup(
        u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\"\n"
        "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"\n"
        "xsi:schemaLocation=\"urn:oasis:names:tc:xliff:document:1.2 xliff-core-1.2-strict.xsd\">\n"
        "<file original=\"dorvane_offline_cat_data.xliff\" source-language=\"");
    document.addAttribute(header.sourceLocale);
    document.addMarkup(u"\" target-language=\"");
    document.addAttribute(header.targetLocale);
    document.addMarkup(u"\" datatype=\"plaintext\">\n<header>\n<phase-group>\n<phase phase-name=\"");
    document.addAttribute(header.stepUid);
    document.addMarkup(u"\" process-name=\"");
    document.addAttribute(QStringView(header.stepName).left(longestName));
    document.addMarkup(u"\"/>\n</phase-group>\n</header>\n<body>\n\n");
}

class Body
{
public:
    Body(DVXliffDocument &document, const DVXliffHeader &header, Failures &failures)
        : m_document(document)
        , m_header(header)
        , m_failures(failures)
    {}

    void addGroup(const QString &key, const DVStringGroupPtr &group)
    {
        if (!group || group->pluralForms.isEmpty()) {
            m_failures.insert(key, group);
        } else if (!group->hasPlurals) {
            addForm(group->stringForPluralForm({}, false));
        } else {
            m_document.addMarkup(u"<group restype=\"x-cldr-plurals\">\n");
            for (const DVStringPtr &form : group->sortedForms())
                addForm(form);
            m_document.addMarkup(u"</group>\n\n");
        }
    }

private:
    void addForm(const DVStringPtr &form)
    {
        const auto unit = unitOf(*form, m_header.stepUid, m_header);
        if (unit && isReadable(*unit))
            m_document.addDocument(*unit);
        else
            m_failures.insert(form->key, form);
    }

    DVXliffDocument &m_document;
    const DVXliffHeader &m_header;
    Failures &m_failures;
};

} // namespace

DVErrorOr DVXliffWriter::writeXliffFromStrings(const DVStringGroups &strings, const QString &toFile,
                                               const DVXliffHeader &header, Failures *failures)
{
    const DVXliffDocument document = documentFromStrings(strings, header, failures);
    DVErrorOr error = DVPrivateFile::write(toFile, dv_escapedXliff(document));
    if (error) {
        for (auto it = strings.begin(); it != strings.end(); ++it)
            failures->insert(it.key(), *it);
    }
    return error;
}

QString DVXliffWriter::xliffFromStrings(const DVStringGroups &strings, const DVXliffHeader &header,
                                        Failures *failures)
{
    return documentFromStrings(strings, header, failures).text();
}

DVXliffDocument DVXliffWriter::documentFromStrings(const DVStringGroups &strings, const DVXliffHeader &header,
                                                   Failures *failures)
{
    DVXliffDocument document;
    addHeader(document, header);
    Body body(document, header, *failures);
    for (auto it = strings.begin(); it != strings.end(); ++it)
        body.addGroup(it.key(), *it);
    document.addMarkup(u"</body>\n</file>\n</xliff>");
    return document;
}

QString DVXliffWriter::xliffForString(const DVString &string, const QString &phase,
                                      const DVXliffHeader &header)
{
    const auto unit = unitOf(string, phase, header);
    return unit ? unit->text() : QString();
}

QString DVXliffWriter::stringWithTagsForString(const DVString &string)
{
    int number = 0;
    return dv_enumerateCuesUsingBlock(string.localizedFormat, [&number](const QString &argument) {
        return std::optional<QString>(placeholderStart(++number) % argument % placeholderEnd);
    });
}
