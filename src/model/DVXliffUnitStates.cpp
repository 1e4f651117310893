#include "DVXliffUnitStates.h"

#include <utility>

namespace {

using std::string;
using std::string_view;

// The cue markers and the fullwidth percent sign in UTF-8.
constexpr string_view stringStart = "\xE2\x80\x8B";
constexpr string_view stringEnd = "\xE2\x81\xA2";
constexpr string_view argumentStart = "\xE2\x81\xA3";
constexpr string_view argumentEnd = "\xE2\x81\xA4";
constexpr string_view emptyMarked = "\xE2\x80\x8B\xE2\x81\xA2";
constexpr string_view fullwidthPercent = "\xEF\xBC\x85";

string_view withoutLastCharacter(string_view text)
{
    while (!text.empty() && (text.back() & 0xC0) == 0x80)
        text.remove_suffix(1);
    if (!text.empty())
        text.remove_suffix(1);
    return text;
}

// "x[one]" gives "one". What stands behind a second "[" does not count.
string_view pluralFormOf(string_view uid)
{
    const size_t open = uid.find('[');
    if (!uid.ends_with(']') || open == string_view::npos)
        return {};
    const string_view piece = uid.substr(open + 1, uid.find('[', open + 1) - open - 1);
    return piece.empty() ? string_view() : withoutLastCharacter(piece);
}

} // namespace

DVXliffUnitStates::DVXliffUnitStates(bool needCues, DVXliffReader::UnitHandler handler)
    : m_needCues(needCues)
    , m_handler(std::move(handler))
{}

void DVXliffUnitStates::startElement(Element element, std::optional<string_view> id,
                                     std::optional<string_view> resname)
{
    m_inPlaceholder = false;
    switch (element) {
    case TransUnit:
        startUnit(id, resname);
        break;
    case Source:
        m_state = InSource;
        addCue(stringStart);
        break;
    case Target:
        m_state = InTarget;
        addCue(stringStart);
        break;
    case Note:
        m_state = InNote;
        break;
    case Placeholder:
        addCue(argumentStart);
        m_inPlaceholder = true;
        break;
    case Other:
        break;
    }
}

void DVXliffUnitStates::startUnit(std::optional<string_view> id, std::optional<string_view> resname)
{
    ++m_openUnits;
    m_state = Nowhere;
    m_hasUid = id.has_value();
    m_hasKey = resname.has_value();
    m_uid.assign(id.value_or(string_view()));
    m_key.assign(resname.value_or(string_view()));
    m_source.clear();
    m_target.clear();
    m_note.clear();
}

void DVXliffUnitStates::endElement(Element element)
{
    switch (element) {
    case Source:
    case Target:
        // Into the text that the end belongs to, also when another began inside it.
        if (m_needCues && m_openUnits > 0)
            append(element == Source ? m_source : m_target, stringEnd);
        m_state = Nowhere;
        break;
    case Placeholder:
        addCue(argumentEnd);
        m_inPlaceholder = false;
        break;
    case TransUnit:
        endUnit();
        break;
    case Note: // what follows inside the unit still belongs to the note
    case Other:
        break;
    }
}

void DVXliffUnitStates::endUnit()
{
    m_state = Nowhere;
    --m_openUnits;
    // Once: further ends of units around it would hand out the same texts again and again.
    if (!std::exchange(m_hasKey, false))
        return;
    DVXliffUnit unit;
    unit.key = m_key;
    if (m_hasUid)
        unit.uid = m_uid;
    unit.pluralForm = pluralFormOf(m_uid);
    unit.source = m_source;
    unit.target = m_target;
    unit.note = m_note;
    unit.sourceIsEmptyMarked = m_source == emptyMarked;
    unit.targetIsEmptyMarked = m_target == emptyMarked;
    m_handler(unit);
}

void DVXliffUnitStates::characters(string_view text)
{
    string *current = currentText();
    if (!current)
        return;
    if (m_state == InNote || m_inPlaceholder)
        append(*current, text);
    else
        appendWithoutPercent(*current, text);
}

string *DVXliffUnitStates::currentText()
{
    if (m_openUnits == 0)
        return nullptr;
    switch (m_state) {
    case InSource:
        return &m_source;
    case InTarget:
        return &m_target;
    case InNote:
        return &m_note;
    case Nowhere:
        break;
    }
    return nullptr;
}

void DVXliffUnitStates::addCue(string_view cue)
{
    string *current = currentText();
    if (m_needCues && current && m_state != InNote)
        append(*current, cue);
}

void DVXliffUnitStates::append(string &text, string_view piece)
{
    if (text.size() + piece.size() > size_t(DVXliffReader::maximumTextLength))
        m_tooLong = true;
    else
        text.append(piece);
}

// Literal percent signs must never act as format specifiers.
void DVXliffUnitStates::appendWithoutPercent(string &text, string_view piece)
{
    for (;;) {
        const size_t percent = piece.find('%');
        append(text, piece.substr(0, percent));
        if (percent == string_view::npos)
            return;
        append(text, fullwidthPercent);
        piece.remove_prefix(percent + 1);
    }
}
