// Records of any texts, keys and identifiers: the document written of them is read again as the same records,
// but for characters that XML does not have. And texts as an editor shows them: runs and capsules go back to
// what they were made of. Input: for each form a byte (its three lowest bits: a plural category, or none;
// then a bit each for a missing text, a missing uid, a base form), then key, uid, text and the base form's
// text, each a length and as many bytes: ASCII, or from an alphabet of what hurts.
#include "FuzzTarget.h"
#include "WrittenXliff.h"

#include <DVCapsules.h>
#include <DVCueMarkers.h>

#include <QSet>

namespace {

using namespace DVCueMarker;

QString madeText(FuzzInput &in)
{
    constexpr char16_t rich[] = {stringStart, stringEnd, argumentStart, argumentEnd, 0xD83D, 0xDE00,
                                 0xFEFF,      0xFFFE,    0xFFFF,        0xFF05,      0x2404, 0x0085,
                                 0x2028,      0x00E9,    0x0130,        0x200D};
    QString text = QStringLiteral("");
    const auto bytes = in.take(in.byte());
    for (const char byte : bytes) {
        const auto value = quint8(byte);
        text.append(QChar(value < 0x80 ? char16_t(value) : rich[value % std::size(rich)]));
    }
    return text;
}

struct Strings
{
    DVStringGroups groups;
    QMap<std::pair<QString, QString>, DVStringPtr> base;
};

DVStringPtr madeForm(const QString &key, const QString &plural, const QString &text)
{
    const auto form = std::make_shared<DVString>();
    form->key = key;
    form->pluralForm = plural;
    form->extractFormatFromString(text);
    return form;
}

void addForm(Strings &strings, QSet<QString> &writtenKeys, FuzzInput &in)
{
    static const QStringList categories{QString(), u"zero"_qs, u"one"_qs,   u"two"_qs,
                                        u"few"_qs, u"many"_qs, u"other"_qs, u"dual"_qs};
    const quint8 choice = in.byte();
    const QString key = madeText(in);
    const QString &plural = categories[choice & 7];
    QString uid = madeText(in).remove(u'['); // of which a category would be read
    if (!plural.isNull())
        uid += QString(u'[' + plural + u']');
    const auto form = madeForm(key, plural, madeText(in));
    form->uid = uid;
    const QString baseText = madeText(in);
    if (choice & 8)
        form->localizedFormat = QString();
    if (choice & 16)
        form->uid = QString();
    const QString writtenKey = WrittenXliff::representable(key);
    if (!strings.groups.contains(key) && writtenKeys.contains(writtenKey))
        return; // a document cannot tell the two keys apart
    writtenKeys.insert(writtenKey);
    auto &group = strings.groups[key];
    if (!group)
        group = std::make_shared<DVStringGroup>();
    group->addStringForm(form);
    if (choice & 32)
        strings.base.insert({key, plural}, madeForm(key, plural, baseText));
}

void checkRoundTrip(const Strings &strings)
{
    const DVXliffHeader header{QStringLiteral("en"), QStringLiteral("fr"), QStringLiteral("s\"&\n"),
                               QStringLiteral("<>"), [&strings](const QString &key, const QString &plural) {
                                   return strings.base.value({key, plural});
                               }};
    DVXliffWriter::Failures failures;
    const auto document = DVXliffWriter::documentFromStrings(strings.groups, header, &failures);
    const auto expected = WrittenXliff::expectedOf(strings.groups, header);
    FUZZ_CHECK(failures.keys() == expected.failures);

    DVErrorOr error;
    DVXliffParser::Strings sources;
    const auto read = DVXliffParser::parseXliffData(dv_escapedXliff(document), &sources, 0, &error, true);
    FUZZ_CHECK(!error);
    FUZZ_CHECK(WrittenXliff::formsOf(read) == expected.targets);
    FUZZ_CHECK(WrittenXliff::formsOf(sources) == expected.sources);

    DVXliffWriter::Failures again;
    FUZZ_CHECK(DVXliffWriter::xliffFromStrings(strings.groups, header, &again) == document.text());
}

void checkCapsules(const DVString &form)
{
    const auto shown = dv_stringWithCapsulesWithSize(form, 12, true);
    const auto back = dv_markedUpText(shown.runs);
    FUZZ_CHECK(back.capsules == form.argumentFormatSpecifiers.size());
    DVString again;
    again.extractFormatFromString(back.text);
    FUZZ_CHECK(dv_stringByRemovingCues(back.text) == dv_stringByRemovingCues(form.localizedFormat));
    FUZZ_CHECK(dv_markedUpText(dv_stringWithCapsulesWithSize(again, 12, true).runs) == back);
}

} // namespace

void fuzz_xliffwriter(QByteArrayView input)
{
    FuzzInput in(input);
    Strings strings;
    QSet<QString> writtenKeys;
    while (!in.isEmpty())
        addForm(strings, writtenKeys, in);
    checkRoundTrip(strings);
    for (const auto &group : std::as_const(strings.groups)) {
        for (const auto &form : std::as_const(group->pluralForms)) {
            if (!form->localizedFormat.isNull())
                checkCapsules(*form);
        }
    }
}
