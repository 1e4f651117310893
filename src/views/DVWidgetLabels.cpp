#include "DVWidgetLabels.h"

#include "DVPropertyText.h"

#include <QLabel>
#include <QTextDocument>

namespace {

bool isRich(const QLabel &label)
{
    return label.textFormat() == Qt::RichText ||
           (label.textFormat() == Qt::AutoText && Qt::mightBeRichText(label.text()));
}

QString plainText(const QString &html)
{
    QTextDocument document;
    document.setHtml(html);
    return document.toPlainText();
}

} // namespace

DVLabelView::DVLabelView(QLabel *label)
    : DVWidgetView(label)
{}

QLabel *DVLabelView::label() const
{
    return static_cast<QLabel *>(widget());
}

std::optional<DVViewText> DVLabelView::ownText() const
{
    const QString text = dv_markedText(label(), {"text"}, label()->text());
    if (text.isEmpty() && !label()->pixmap(Qt::ReturnByValue).isNull())
        return std::nullopt;
    return isRich(*label()) ? DVViewText{plainText(text), text} : DVViewText{text, {}};
}

void DVLabelView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    QLabel *target = label();
    const QPointer<QLabel> alive = target;
    const int start = target->selectionStart();
    const int length = int(target->selectedText().size());
    dv_replacePropertyText(target, "text", text.isRich() ? text.richText : text.text,
                           newText.isRich() ? newText.richText : newText.text);
    if (alive && start >= 0 && target->selectionStart() < 0)
        target->setSelection(start, length);
}

DVTextPropertyView::DVTextPropertyView(QWidget *widget, const char *property)
    : DVWidgetView(widget)
    , m_property(property)
{}

std::optional<DVViewText> DVTextPropertyView::ownText() const
{
    const std::optional<QString> text = dv_propertyText(widget(), m_property);
    return text ? std::optional(DVViewText{*text, {}}) : std::nullopt;
}

void DVTextPropertyView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    dv_replacePropertyText(widget(), m_property, text.text, newText.text);
}
