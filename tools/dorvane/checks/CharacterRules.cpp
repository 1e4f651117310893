// Rules about characters that nobody sees.
#include "Rule.h"

namespace {

bool isCue(char16_t c)
{
    return c == 0x200B || c == 0x2062 || c == 0x2063 || c == 0x2064;
}

QString codePoint(char16_t c)
{
    return QStringLiteral("U+") + QString::number(c, 16).toUpper().rightJustified(4, u'0');
}

void report(const CheckContext &context, const CheckedUnit &unit, const CheckedText &text, qsizetype at)
{
    const char16_t c = text.text()[at].unicode();
    const Place place = context.document.placeOf(text, at, 1);
    if (c == 0x200B) // Thai and others break lines with it
        context.add(RuleId::CueMarker, Severity::Warning, unit, place,
                    QStringLiteral("U+200B (zero width space) begins a marked text in review builds; the "
                                   "text will not be found there"));
    else if (isCue(c))
        context.add(RuleId::CueMarker, Severity::Error, unit, place,
                    QStringLiteral("%1 is a marker of review builds, copied with a text").arg(codePoint(c)));
    else if (c == 0xFFFD)
        context.add(RuleId::ControlCharacter, Severity::Error, unit, place,
                    QStringLiteral("U+FFFD stands where a character was lost in a conversion"));
    else if (c == 0xFEFF)
        context.add(RuleId::ControlCharacter, Severity::Warning, unit, place,
                    QStringLiteral("U+FEFF is a byte order mark inside a text"));
    else
        context.add(RuleId::ControlCharacter, Severity::Error, unit, place,
                    QStringLiteral("%1 is a control character").arg(codePoint(c)));
}

bool isSuspicious(char16_t c)
{
    return isCue(c) || c == 0xFFFD || c == 0xFEFF || (c >= 0x7F && c < 0xA0 && c != 0x85);
}

// Unicode Standard Annex 9: embeddings and overrides end with PDF, isolates with PDI, and all of them with
// the paragraph. -1: balanced; else where the first one stands that is not.
qsizetype unbalancedDirection(QStringView text)
{
    std::vector<std::pair<bool, qsizetype>> open; // isolate, place
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        const bool isIsolate = c >= 0x2066 && c <= 0x2068;
        if (isIsolate || c == 0x202A || c == 0x202B || c == 0x202D || c == 0x202E) {
            open.emplace_back(isIsolate, i);
        } else if (c == 0x202C || c == 0x2069) {
            if (open.empty() || open.back().first != (c == 0x2069))
                return open.empty() ? i : open.back().second;
            open.pop_back();
        } else if (c == u'\n' && !open.empty()) {
            return open.back().second;
        }
    }
    return open.empty() ? -1 : open.back().second;
}

void checkText(const CheckContext &context, const CheckedUnit &unit, const CheckedText &text)
{
    const QString &content = text.text();
    bool hasDirection = false;
    bool reported = false;
    for (qsizetype i = 0; i < content.size(); ++i) {
        const char16_t c = content[i].unicode();
        if (c < 0x7F)
            continue;
        hasDirection = hasDirection || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
        if (isSuspicious(c) && !reported) {
            report(context, unit, text, i);
            reported = true; // one for each text is enough
        }
    }
    const qsizetype at = hasDirection ? unbalancedDirection(content) : -1;
    if (at >= 0)
        context.add(RuleId::Bidi, Severity::Warning, unit, context.document.placeOf(text, at, 1),
                    QStringLiteral("%1 has no partner in its paragraph; what is shown behind the text turns "
                                   "with it")
                        .arg(codePoint(content[at].unicode())));
}

} // namespace

void checkCharacters(const CheckContext &context)
{
    for (const CheckedUnit &unit : context.document.units) {
        checkText(context, unit, unit.source);
        checkText(context, unit, unit.target);
    }
}
