#include "DVWidgetFields.h"

#include "DVCleanFields.h"
#include "DVDocumentText.h"
#include "DVPropertyText.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTextDocument>
#include <QTextEdit>

namespace {

DVViewText placeholderOf(const QWidget &field)
{
    return {dv_propertyText(&field, "placeholderText").value_or(QString()), {}};
}

void replacePlaceholder(QWidget *field, const DVViewText &text, const DVViewText &newText)
{
    dv_replacePropertyText(field, "placeholderText", text.text, newText.text);
}

void setLineText(QLineEdit &edit, const QString &text)
{
    const QPointer<QLineEdit> alive = &edit;
    const int cursor = edit.cursorPosition();
    const int start = edit.selectionStart();
    const int length = edit.selectionLength();
    edit.setText(text);
    if (!alive)
        return;
    if (start < 0)
        edit.setCursorPosition(cursor);
    else if (cursor == start)
        edit.setSelection(start + length, -length);
    else
        edit.setSelection(start, length);
}

// Of a read-only one nobody but the application has written it.
template<typename Edit> bool isWrittenByUser(const Edit &edit)
{
    return !edit.isReadOnly() && edit.document()->isModified();
}

// Gives a text edit a new text, and lets it stand where it stood.
template<typename Edit, typename Set> void setDocumentText(Edit &edit, const Set &set)
{
    const QPointer<Edit> alive = &edit;
    const QTextCursor before = edit.textCursor();
    const int anchor = before.anchor();
    const int position = before.position();
    const int x = edit.horizontalScrollBar()->value();
    const int y = edit.verticalScrollBar()->value();
    set(edit);
    if (!alive)
        return;
    const int end = edit.document()->characterCount() - 1;
    QTextCursor after = edit.textCursor();
    after.setPosition(qMin(anchor, end));
    after.setPosition(qMin(position, end), QTextCursor::KeepAnchor);
    edit.setTextCursor(after);
    edit.horizontalScrollBar()->setValue(x);
    edit.verticalScrollBar()->setValue(y);
}

// One that holds clean text gets it clean in one step, as its listeners see it.
template<typename Edit, typename Set>
void replaceDocumentText(Edit &edit, const QString &text, const QString &newText, const Set &set,
                         void (*clean)(Edit &, DVTelling))
{
    const QString held = edit.toPlainText();
    const QString marked = dv_markedText(&edit, {"plainText"}, held);
    if (marked != text || marked == newText)
        return;
    if (marked == held)
        return setDocumentText(edit, set);
    setDocumentText(edit, [&](Edit &target) {
        {
            const QSignalBlocker quiet(target);
            set(target);
        }
        clean(target, DVTelling::Listeners);
    });
}

} // namespace

std::optional<DVViewText> DVLineEditView::ownText() const
{
    if (widget()->text().isEmpty())
        return placeholderOf(*widget());
    if (widget()->echoMode() != QLineEdit::Normal)
        return std::nullopt;
    return DVViewText{dv_markedText(widget(), {"text"}, widget()->text()), {}};
}

void DVLineEditView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    if (widget()->text().isEmpty())
        return replacePlaceholder(widget(), text, newText);
    if (widget()->isModified() || widget()->echoMode() != QLineEdit::Normal)
        return;
    dv_replaceText(
        {widget(), {"text"}, widget()->text(), [this](const QString &held) { setLineText(*widget(), held); }},
        text.text, newText.text);
}

bool DVTextEditView::hasAsSubview(const QWidget & /*child*/) const
{
    return false;
}

std::optional<DVViewText> DVTextEditView::ownText() const
{
    if (widget()->document()->isEmpty())
        return placeholderOf(*widget());
    const QString held = widget()->toPlainText();
    const QString text = dv_markedText(widget(), {"plainText"}, held);
    if (!dv_holdsCues(text) || !dv_isRich(*widget()->document()))
        return DVViewText{text, {}};
    return DVViewText{text, dv_markedText(widget(), {"html"}, widget()->toHtml())};
}

void DVTextEditView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    if (widget()->document()->isEmpty())
        return replacePlaceholder(widget(), text, newText);
    if (isWrittenByUser(*widget()))
        return;
    const auto set = [&newText](QTextEdit &target) {
        newText.isRich() ? target.setHtml(newText.richText) : target.setPlainText(newText.text);
    };
    replaceDocumentText(*widget(), text.text, newText.text, set, dv_cleanTextEdit);
}

bool DVPlainTextEditView::hasAsSubview(const QWidget & /*child*/) const
{
    return false;
}

std::optional<DVViewText> DVPlainTextEditView::ownText() const
{
    if (widget()->document()->isEmpty())
        return placeholderOf(*widget());
    return DVViewText{dv_markedText(widget(), {"plainText"}, widget()->toPlainText()), {}};
}

void DVPlainTextEditView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    if (widget()->document()->isEmpty())
        return replacePlaceholder(widget(), text, newText);
    if (isWrittenByUser(*widget()))
        return;
    const auto set = [&newText](QPlainTextEdit &target) { target.setPlainText(newText.text); };
    replaceDocumentText(*widget(), text.text, newText.text, set, dv_cleanPlainTextEdit);
}
