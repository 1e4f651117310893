#include "DVTextChanges.h"

#include "DVCleanFields.h"

#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <utility>

DVTextChanges::DVTextChanges(QTextDocument &document)
{
    follow(document);
}

void DVTextChanges::follow(QTextDocument &document)
{
    if (m_document)
        disconnect(m_document, nullptr, this, nullptr);
    m_document = &document;
    m_length = document.characterCount();
    m_ranges.clear();
    connect(&document, &QTextDocument::contentsChange, this, &DVTextChanges::add);
}

bool DVTextChanges::haveCues(QTextDocument &document)
{
    if (m_document != &document) {
        follow(document);
        return true;
    }
    // What a slot of contentsChange changes itself is not told: then the lengths differ.
    const bool isComplete = document.characterCount() == m_length;
    m_length = document.characterCount();
    const auto ranges = std::exchange(m_ranges, {});
    if (!isComplete)
        return holdCues({0, m_length});
    return std::any_of(ranges.begin(), ranges.end(), [this](const Range &range) { return holdCues(range); });
}

bool DVTextChanges::holdCues(const Range &range) const
{
    for (QTextBlock block = m_document->findBlock(range.start); block.isValid(); block = block.next()) {
        if (block.position() > range.end)
            break;
        if (dv_holdsCues(block.text()))
            return true;
    }
    return false;
}

// A full log says of one more line that it came at the end, and that the first one went.
void DVTextChanges::add(int position, int removed, int added)
{
    constexpr size_t most = 8;
    const auto moved = [&](int place) {
        return place >= position + removed ? place + added - removed : qMin(place, position);
    };
    m_length += added - removed;
    for (Range &range : m_ranges)
        range = {moved(range.start), moved(range.end)};
    m_ranges.push_back({position, position + added});
    if (m_ranges.size() > most)
        m_ranges = {{0, m_length}};
}
