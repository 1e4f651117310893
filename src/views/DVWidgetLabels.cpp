#include "DVWidgetLabels.h"

#include "DVMarkup.h"
#include "DVPropertyText.h"
#include "DVWidgetPart.h"
#include "DVWidgetTitles.h"

#include <QLabel>
#include <QTextDocument>
#include <QWizard>

namespace {

bool isRich(const QLabel &label)
{
    return label.textFormat() == Qt::RichText ||
           (label.textFormat() == Qt::AutoText && Qt::mightBeRichText(label.text()));
}

// A wizard shows its page's titles in labels of its own, and gives them the texts again and again.
void setLabelText(QLabel *label, const QString &text)
{
    const QString held = label->text();
    const QWizard *wizard = dv_wizardAbove(*label);
    QWizardPage *page = wizard ? wizard->currentPage() : nullptr;
    if (page && !page->isAncestorOf(label) && page->title() == held)
        return page->setTitle(text);
    if (page && !page->isAncestorOf(label) && page->subTitle() == held)
        return page->setSubTitle(text);
    label->setText(text);
}

} // namespace

std::optional<DVViewText> DVLabelView::ownText() const
{
    const QString text = dv_markedText(widget(), {"text"}, widget()->text());
    if (text.isEmpty() && !widget()->pixmap(Qt::ReturnByValue).isNull())
        return std::nullopt;
    return isRich(*widget()) ? DVViewText{DVMarkup::plainText(text), text} : DVViewText{text, {}};
}

void DVLabelView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    QLabel *target = widget();
    const QPointer<QLabel> alive = target;
    const int start = target->selectionStart();
    const int length = int(target->selectedText().size());
    dv_replaceText(
        {target, {"text"}, target->text(), [=](const QString &held) { setLabelText(target, held); }},
        text.isRich() ? text.richText : text.text, newText.isRich() ? newText.richText : newText.text);
    if (alive && start >= 0 && target->selectionStart() < 0)
        target->setSelection(start, length);
}

DVTextPropertyView::DVTextPropertyView(QWidget *widget, const char *property, const char *second)
    : DVWidgetView(widget)
    , m_property(property)
    , m_second(second)
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

QList<DVViewPtr> DVTextPropertyView::parts() const
{
    if (!m_second || widget()->property(m_second).toString().isEmpty())
        return {};
    return {std::make_shared<DVPropertyPart>(widget(), m_second,
                                             [](const QWidget &shown) { return shown.rect(); })};
}

DVViewPtr DVTextPropertyView::partAt(const QPoint & /*point*/) const
{
    return nullptr;
}
