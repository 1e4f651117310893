#include "DVCleanFields.h"

#include "DVCueMarkers.h"
#include "DVMarkedTexts.h"
#include "DVTextMarks.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QStandardItemModel>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QVariant>

#include <algorithm>
#include <utility>

namespace {

bool isCue(QChar c)
{
    return dv_isCue(c.unicode());
}

// From the end, so that the places of those before stay.
void removeCues(QTextDocument &document)
{
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    for (QTextBlock block = document.lastBlock(); block.isValid(); block = block.previous()) {
        const QString text = block.text();
        for (qsizetype i = text.size() - 1; i >= 0; --i) {
            if (!isCue(text[i]))
                continue;
            cursor.setPosition(block.position() + int(i));
            cursor.deleteChar();
        }
    }
    cursor.endEditBlock();
}

bool holdsCues(const QTextDocument &document)
{
    for (QTextBlock block = document.firstBlock(); block.isValid(); block = block.next()) {
        if (dv_holdsCues(block.text()))
            return true;
    }
    return false;
}

// The history goes: each of its steps could bring the markers back, and taking them out once more would be a
// step that undoing never gets past.
void cleanDocument(QTextDocument &document)
{
    const bool wasModified = document.isModified();
    const bool remembersSteps = document.isUndoRedoEnabled();
    document.setUndoRedoEnabled(false);
    removeCues(document);
    document.setUndoRedoEnabled(remembersSteps);
    document.setModified(wasModified);
}

} // namespace

bool dv_holdsCues(QStringView text)
{
    using namespace DVCueMarker;
    return text.startsWith(QChar(stringStart)) || std::any_of(text.begin(), text.end(), [](QChar c) {
               return c == stringEnd || c == argumentStart || c == argumentEnd;
           });
}

qsizetype dv_placeWithoutCues(QStringView text, qsizetype place)
{
    const QStringView before = text.first(std::clamp<qsizetype>(place, 0, text.size()));
    return std::count_if(before.begin(), before.end(), [](QChar c) { return !isCue(c); });
}

void dv_cleanLineEdit(QLineEdit &edit)
{
    const QString marked = edit.text();
    if (!dv_holdsCues(marked))
        return;
    const QString clean = dv_stringByRemovingCues(marked);
    const int cursor = int(dv_placeWithoutCues(marked, edit.cursorPosition()));
    const bool isSelected = edit.hasSelectedText();
    const int start = int(dv_placeWithoutCues(marked, edit.selectionStart()));
    const int end = int(dv_placeWithoutCues(marked, edit.selectionEnd()));
    const bool wasModified = edit.isModified();
    DVMarkedTexts::remember(&edit, {"text"}, marked);
    {
        const QSignalBlocker quiet(edit);
        edit.setText(clean);
        edit.setCursorPosition(cursor);
        if (isSelected)
            edit.setSelection(cursor == start ? end : start, cursor == start ? start - end : end - start);
        edit.setModified(wasModified);
    }
}

DVLineEditCleaner::DVLineEditCleaner(QLineEdit &edit)
    : m_edit(&edit)
{}

void DVLineEditCleaner::textChanged()
{
    const QString text = m_edit->text();
    if (!dv_holdsCues(text))
        return;
    const QString clean = dv_stringByRemovingCues(text);
    if (!m_clean)
        postEndOfTurn();
    if (m_clean != clean) {
        m_clean = clean;
        m_times = 0;
    }
    // Setting it once more is no change then, as it would be none without us.
    constexpr int most = 3;
    if (++m_times > most)
        return;
    dv_cleanLineEdit(*m_edit);
    tell(clean);
}

void DVLineEditCleaner::tell(const QString &clean)
{
    if (m_told == clean)
        return;
    const auto keep = shared_from_this(); // a listener may delete the edit
    const auto outer = std::exchange(m_told, clean);
    Q_EMIT m_edit->textChanged(clean);
    m_told = outer;
}

void DVLineEditCleaner::postEndOfTurn()
{
    const auto end = [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->endTurn();
    };
    QMetaObject::invokeMethod(m_edit, end, Qt::QueuedConnection);
}

void DVLineEditCleaner::endTurn()
{
    const QString clean = m_clean.value_or(QString());
    dv_cleanLineEdit(*m_edit);
    if (m_edit->text() == clean)
        tell(clean);
    if (!m_edit)
        return;
    if (m_clean != clean) // a listener has set another
        return postEndOfTurn();
    dv_cleanLineEdit(*m_edit);
    m_clean.reset();
}

void dv_cleanTextEdit(QTextEdit &edit, DVTelling telling)
{
    if (!holdsCues(*edit.document()))
        return;
    DVMarkedTexts::remember(&edit, {"html"}, edit.toHtml());
    DVMarkedTexts::remember(&edit, {"plainText"}, edit.toPlainText());
    {
        const QSignalBlocker quiet(edit);
        cleanDocument(*edit.document());
    }
    if (telling == DVTelling::Listeners)
        Q_EMIT edit.textChanged();
}

void dv_cleanPlainTextEdit(QPlainTextEdit &edit, DVTelling telling)
{
    if (!holdsCues(*edit.document()))
        return;
    DVMarkedTexts::remember(&edit, {"plainText"}, edit.toPlainText());
    {
        const QSignalBlocker quiet(edit);
        cleanDocument(*edit.document());
    }
    if (telling == DVTelling::Listeners)
        Q_EMIT edit.textChanged();
}

void dv_cleanSpinBox(QAbstractSpinBox &box)
{
    for (const char *property : {"prefix", "suffix", "specialValueText"})
        dv_cleanProperty(box, property);
}

void dv_cleanEntries(QComboBox &box, int first, int last)
{
    if (!qobject_cast<QStandardItemModel *>(box.model()))
        return;
    const QPointer<QComboBox> alive = &box; // the host may delete it when it is told of an entry
    for (int i = first; alive && i <= last && i < box.count(); ++i) {
        const QString marked = box.itemText(i);
        if (!dv_holdsCues(marked))
            continue;
        DVMarkedTexts::remember(&box, {"itemText", i}, marked);
        box.setItemText(i, dv_stringByRemovingCues(marked));
    }
}

void dv_cleanProperty(QObject &object, const char *property)
{
    const QVariant value = object.property(property);
    if (value.typeId() != QMetaType::QString || !dv_holdsCues(value.toString()))
        return;
    DVMarkedTexts::remember(&object, {property}, value.toString());
    const QSignalBlocker quiet(object);
    object.setProperty(property, dv_stringByRemovingCues(value.toString()));
}
