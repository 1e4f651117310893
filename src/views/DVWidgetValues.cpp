#include "DVWidgetValues.h"

#include "DVItemTexts.h"
#include "DVPropertyText.h"
#include "DVWidgetPart.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QLineEdit>
#include <QProgressBar>

namespace {

QLineEdit *fieldOf(const QWidget &box)
{
    return box.findChild<QLineEdit *>(QString(), Qt::FindDirectChildrenOnly);
}

QRect fieldRect(const QWidget &box)
{
    const QLineEdit *field = fieldOf(box);
    return field ? field->geometry() : box.rect();
}

// A value that is still being written would be lost with what stands around it.
bool isBeingWritten(const QAbstractSpinBox &box)
{
    const QLineEdit *field = fieldOf(box);
    return field && field->isModified() && !box.keyboardTracking();
}

class SpinBoxPart final : public DVPropertyPart
{
public:
    SpinBoxPart(QWidget *box, const char *property)
        : DVPropertyPart(box, property, fieldRect)
    {}

protected:
    void showText(const DVViewText &text, const DVViewText &newText) override
    {
        if (!isBeingWritten(*static_cast<QAbstractSpinBox *>(widget())))
            DVPropertyPart::showText(text, newText);
    }
};

qsizetype heldLength(const QWidget &box, const char *property)
{
    return box.property(property).toString().size();
}

} // namespace

bool DVComboBoxView::showsItem() const
{
    const QLineEdit *field = widget()->lineEdit();
    return !field ||
           (widget()->currentIndex() >= 0 && field->text() == widget()->itemText(widget()->currentIndex()));
}

std::optional<DVViewText> DVComboBoxView::ownText() const
{
    if (!showsItem())
        return std::nullopt;
    const int index = widget()->currentIndex();
    if (index < 0)
        return DVViewText{dv_propertyText(widget(), "placeholderText").value_or(QString()), {}};
    return DVViewText{dv_markedText(widget(), dv_entryPlace(*widget(), index), widget()->itemText(index)),
                      {}};
}

void DVComboBoxView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    if (!showsItem())
        return;
    const int index = widget()->currentIndex();
    if (index < 0)
        return dv_replacePropertyText(widget(), "placeholderText", text.text, newText.text);
    dv_replaceEntryText(widget(), index, text.text, newText.text);
}

bool DVComboBoxView::hasAsSubview(const QWidget &child) const
{
    return &child != widget()->lineEdit() || !showsItem();
}

QList<DVViewPtr> DVSpinBoxView::parts() const
{
    if (showsSpecialValue())
        return {std::make_shared<SpinBoxPart>(widget(), "specialValueText")};
    QList<DVViewPtr> parts;
    for (const char *property : {"prefix", "suffix"}) {
        if (heldLength(*widget(), property) > 0)
            parts << std::make_shared<SpinBoxPart>(widget(), property);
    }
    return parts;
}

bool DVSpinBoxView::showsSpecialValue() const
{
    const QString special = widget()->specialValueText();
    return !special.isEmpty() && widget()->text() == special;
}

DVViewPtr DVSpinBoxView::partAt(const QPoint &point) const
{
    QLineEdit *field = fieldOf(*widget());
    if (!field || !field->geometry().contains(point))
        return nullptr;
    const QList<DVViewPtr> all = parts();
    const qsizetype prefix = heldLength(*widget(), "prefix");
    const qsizetype suffix = heldLength(*widget(), "suffix");
    const int position = field->cursorPositionAt(field->mapFrom(widget(), point));
    if (showsSpecialValue() || (prefix > 0 && position <= prefix))
        return all.value(0);
    return suffix > 0 && position >= widget()->text().size() - suffix ? all.value(all.size() - 1) : nullptr;
}

bool DVSpinBoxView::hasAsSubview(const QWidget &child) const
{
    return &child != fieldOf(*widget());
}

std::optional<DVViewText> DVProgressBarView::ownText() const
{
    const auto *bar = widget();
    if (!bar->isTextVisible() || bar->text().isEmpty())
        return std::nullopt;
    return DVViewText{dv_markedText(bar, {"format"}, bar->format()), {}};
}

void DVProgressBarView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    dv_replacePropertyText(widget(), "format", text.text, newText.text);
}
