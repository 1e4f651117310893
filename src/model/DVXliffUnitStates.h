// DVXliffUnitStates: makes units of the elements and texts of an XLIFF document.
#pragma once

#include "DVXliffReader.h"

#include <optional>
#include <string>
#include <string_view>

// What an XML parser reports goes in, in document order; units come out. Texts may come in pieces.
class DVXliffUnitStates
{
public:
    enum Element { TransUnit, Source, Target, Note, Placeholder, Other };

    DVXliffUnitStates(bool needCues, DVXliffReader::UnitHandler handler);

    // The attributes matter for TransUnit only.
    void startElement(Element element, std::optional<std::string_view> id,
                      std::optional<std::string_view> resname);
    void endElement(Element element);
    void characters(std::string_view text);

    // A source, target or note has grown beyond the limit.
    bool isTooLong() const { return m_tooLong; }

private:
    enum State { InSource, InTarget, InNote, Nowhere };

    void startUnit(std::optional<std::string_view> id, std::optional<std::string_view> resname);
    void endUnit();
    std::string *currentText();
    void addCue(std::string_view cue);
    void append(std::string &text, std::string_view piece);
    void appendWithoutPercent(std::string &text, std::string_view piece);

    const bool m_needCues;
    const DVXliffReader::UnitHandler m_handler;
    State m_state = Nowhere;
    bool m_inPlaceholder = false;
    bool m_tooLong = false;
    int m_openUnits = 0; // outside a unit no text can reach one
    bool m_hasUid = false;
    bool m_hasKey = false;
    std::string m_uid, m_key, m_source, m_target, m_note;
};
