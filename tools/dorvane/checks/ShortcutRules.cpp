// Rules about the keyboard: mnemonics such as "&Open", and texts that are key sequences.
#include "Rule.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

struct Mnemonics
{
    int count = 0;
    bool hasEntities = false; // the text is shown as HTML, where "&" means something else
    qsizetype second = -1;    // where the second one stands
};

bool isEntity(QStringView text)
{
    constexpr qsizetype longestName = 12;
    const qsizetype end = text.first(std::min(text.size(), longestName)).indexOf(u';');
    if (end < 2)
        return false;
    return std::all_of(text.begin() + 1, text.begin() + end,
                       [](QChar c) { return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == u'#'); });
}

// "R&D" and "AT&T" have none.
bool isInAbbreviation(QStringView text, qsizetype at)
{
    return at > 0 && text[at - 1].isUpper() && text[at + 1].isUpper();
}

Mnemonics mnemonicsIn(QStringView text)
{
    Mnemonics found;
    for (qsizetype at = text.indexOf(u'&'); at >= 0 && at + 1 < text.size();
         at = text.indexOf(u'&', at + 1)) {
        if (text[at + 1] == u'&') { // an ampersand to show
            ++at;
            continue;
        }
        found.hasEntities = found.hasEntities || isEntity(text.sliced(at));
        if (!text[at + 1].isLetterOrNumber() || isEntity(text.sliced(at)) || isInAbbreviation(text, at))
            continue;
        if (++found.count == 2)
            found.second = at;
    }
    return found;
}

void checkMnemonics(const CheckContext &context, const CheckedUnit &unit)
{
    const QString &target = unit.target.text();
    if (!unit.source.text().contains(u'&') && !target.contains(u'&'))
        return;
    const Mnemonics source = mnemonicsIn(unit.source.text());
    const Mnemonics inTarget = mnemonicsIn(target);
    if (source.hasEntities || inTarget.hasEntities)
        return;
    const Place place = context.document.placeOf(unit.target);
    if (source.count == 1 && inTarget.count == 0)
        context.add(RuleId::Mnemonic, Severity::Warning, unit, place,
                    QStringLiteral("the mnemonic of the source (\"&\") is lost"));
    else if (source.count == 0 && inTarget.count > 0)
        context.add(RuleId::Mnemonic, Severity::Warning, unit, place,
                    QStringLiteral("the source has no mnemonic; write \"&&\" for an ampersand"));
    else if (source.count == 1 && inTarget.count > 1)
        context.add(RuleId::Mnemonic, Severity::Warning, unit,
                    context.document.placeOf(unit.target, inTarget.second, 2),
                    QStringLiteral("the target has several mnemonics"));
}

// In Qt's portable form: "Ctrl+Shift+S", "F1", "Ctrl+K, Ctrl+C".
bool isKeySequence(const QString &text)
{
    if (text.size() > 60 || text.isEmpty())
        return false;
    static const QRegularExpression sequence([] {
        const QString key = QStringLiteral(
            "((Ctrl|Alt|Shift|Meta|Num)\\+)+(F[1-9]\\d?|[A-Z][a-z]{2,}([A-Z][a-z]+)?|\\S)|F[1-9]\\d?");
        return QString(u"\\A(" % key % u")(, ?(" % key % u"))*\\z");
    }());
    return sequence.match(text).hasMatch();
}

void checkKeySequences(const CheckContext &context, const CheckedUnit &unit)
{
    const QString &source = unit.source.text();
    const QString &target = unit.target.text();
    const QChar last = source.back();
    if (source == target || (!source.contains(u'+') && !last.isDigit()) || !isKeySequence(source))
        return;
    const bool isKeys = isKeySequence(target);
    context.add(RuleId::KeySequence, isKeys ? Severity::Note : Severity::Warning, unit,
                context.document.placeOf(unit.target),
                isKeys ? QStringLiteral("the key sequence \"%1\" is changed").arg(source)
                       : QStringLiteral("the key sequence \"%1\" became a text that is none; Qt reads the "
                                        "names Ctrl, Alt, Shift and Meta in every language")
                             .arg(source));
}

} // namespace

void checkShortcuts(const CheckContext &context, const CheckedUnit &unit)
{
    checkMnemonics(context, unit);
    checkKeySequences(context, unit);
}
