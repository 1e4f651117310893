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

DVComboBoxView::DVComboBoxView(QComboBox *box)
    : DVWidgetView(box)
{}

QComboBox *DVComboBoxView::box() const
{
    return static_cast<QComboBox *>(widget());
}

bool DVComboBoxView::showsItem() const
{
    const QLineEdit *field = box()->lineEdit();
    return !field || (box()->currentIndex() >= 0 && field->text() == box()->itemText(box()->currentIndex()));
}

std::optional<DVViewText> DVComboBoxView::ownText() const
{
    if (!showsItem())
        return std::nullopt;
    const int index = box()->currentIndex();
    if (index < 0)
        return DVViewText{dv_propertyText(box(), "placeholderText").value_or(QString()), {}};
    return DVViewText{dv_markedText(box(), dv_entryPlace(*box(), index), box()->itemText(index)), {}};
}

void DVComboBoxView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    if (!showsItem())
        return;
    const int index = box()->currentIndex();
    if (index < 0)
        return dv_replacePropertyText(box(), "placeholderText", text.text, newText.text);
    dv_replaceEntryText(box(), index, text.text, newText.text);
}

bool DVComboBoxView::hasAsSubview(const QWidget &child) const
{
    return &child != box()->lineEdit() || !showsItem();
}

DVSpinBoxView::DVSpinBoxView(QAbstractSpinBox *box)
    : DVWidgetView(box)
{}

QAbstractSpinBox *DVSpinBoxView::box() const
{
    return static_cast<QAbstractSpinBox *>(widget());
}

QList<DVViewPtr> DVSpinBoxView::parts() const
{
    if (showsSpecialValue())
        return {std::make_shared<SpinBoxPart>(box(), "specialValueText")};
    QList<DVViewPtr> parts;
    for (const char *property : {"prefix", "suffix"}) {
        if (heldLength(*box(), property) > 0)
            parts << std::make_shared<SpinBoxPart>(box(), property);
    }
    return parts;
}

bool DVSpinBoxView::showsSpecialValue() const
{
    const QString special = box()->specialValueText();
    return !special.isEmpty() && box()->text() == special;
}

DVViewPtr DVSpinBoxView::partAt(const QPoint &point) const
{
    QLineEdit *field = fieldOf(*box());
    if (!field || !field->geometry().contains(point))
        return nullptr;
    const QList<DVViewPtr> all = parts();
    const qsizetype prefix = heldLength(*box(), "prefix");
    const qsizetype suffix = heldLength(*box(), "suffix");
    const int position = field->cursorPositionAt(field->mapFrom(widget(), point));
    if (showsSpecialValue() || (prefix > 0 && position <= prefix))
        return all.value(0);
    return suffix > 0 && position >= box()->text().size() - suffix ? all.value(all.size() - 1) : nullptr;
}

bool DVSpinBoxView::hasAsSubview(const QWidget &child) const
{
    return &child != fieldOf(*box());
}

DVProgressBarView::DVProgressBarView(QProgressBar *bar)
    : DVWidgetView(bar)
{}

std::optional<DVViewText> DVProgressBarView::ownText() const
{
    const auto *bar = static_cast<QProgressBar *>(widget());
    if (!bar->isTextVisible() || bar->text().isEmpty())
        return std::nullopt;
    return DVViewText{dv_markedText(bar, {"format"}, bar->format()), {}};
}

void DVProgressBarView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    dv_replacePropertyText(widget(), "format", text.text, newText.text);
}
