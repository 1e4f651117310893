#include "DVWidgetButtons.h"

#include "DVPropertyText.h"
#include "DVWidgetPart.h"
#include "DVWidgetTitles.h"

#include <QAction>
#include <QCommandLinkButton>
#include <QStyle>
#include <QToolButton>
#include <QWizard>

#include <utility>

namespace {

bool showsIconOnly(const QToolButton &button)
{
    int style = button.toolButtonStyle();
    if (style == Qt::ToolButtonFollowStyle)
        style = button.style()->styleHint(QStyle::SH_ToolButtonStyle, nullptr, &button);
    return style == Qt::ToolButtonIconOnly && (!button.icon().isNull() || button.arrowType() != Qt::NoArrow);
}

// Of a button that a wizard has made itself, by the name that it gives it.
QWizard::WizardButton wizardButton(const QAbstractButton &button)
{
    const QString name = button.objectName();
    const QLatin1StringView numbered("__qt__passive_wizardbutton");
    if (name.startsWith(numbered))
        return QWizard::WizardButton(name.mid(numbered.size()).toInt());
    const std::pair<QLatin1StringView, QWizard::WizardButton> names[] = {
        {QLatin1StringView("qt_wizard_commit"), QWizard::CommitButton},
        {QLatin1StringView("qt_wizard_finish"), QWizard::FinishButton},
        {QLatin1StringView("qt_wizard_cancel"), QWizard::CancelButton},
    };
    for (const auto &[known, which] : names) {
        if (name == known)
            return which;
    }
    return QWizard::NoButton;
}

// A wizard, or its page, gives the wizard's buttons their texts again and again.
void setButtonText(QAbstractButton *button, const QString &text)
{
    const QWizard::WizardButton which = wizardButton(*button);
    auto *wizard = which == QWizard::NoButton ? nullptr : dv_wizardAbove(*button);
    if (!wizard)
        return button->setText(text);
    if (wizard->buttonText(which) == button->text() || !wizard->currentPage())
        return wizard->setButtonText(which, text);
    wizard->currentPage()->setButtonText(which, text);
}

QRect wholeRect(const QWidget &widget)
{
    return widget.rect();
}

} // namespace

const char *dv_actionProperty(const QAction &action, const char *property)
{
    if (qstrcmp(property, "text") == 0)
        return property;
    const QAction plain(action.text());
    return plain.property(property) == action.property(property) ? "text" : property;
}

std::optional<DVButtonView::Place> DVButtonView::place() const
{
    auto *button = widget();
    const auto *tool = qobject_cast<QToolButton *>(button);
    const bool textIsHidden = tool && showsIconOnly(*tool);
    QAction *action = tool ? tool->defaultAction() : nullptr;
    if (action)
        return Place{action, dv_actionProperty(*action, textIsHidden ? "toolTip" : "iconText")};
    if ((textIsHidden || button->text().isEmpty()) && !button->toolTip().isEmpty())
        return Place{button, "toolTip"};
    return textIsHidden ? std::nullopt : std::optional(Place{button, "text"});
}

std::optional<DVViewText> DVButtonView::ownText() const
{
    const std::optional<Place> shown = place();
    const std::optional<QString> text =
        shown ? dv_propertyText(shown->object, shown->property) : std::nullopt;
    return text ? std::optional(DVViewText{*text, {}}) : std::nullopt;
}

void DVButtonView::setOwnText(const DVViewText &text, const DVViewText &newText)
{
    const std::optional<Place> shown = place();
    if (!shown)
        return;
    auto *button = widget();
    if (shown->object != button || qstrcmp(shown->property, "text") != 0)
        return dv_replacePropertyText(shown->object, shown->property, text.text, newText.text);
    dv_replaceText(
        {button, {"text"}, button->text(), [=](const QString &held) { setButtonText(button, held); }},
        text.text, newText.text);
}

QList<DVViewPtr> DVButtonView::parts() const
{
    const auto *link = qobject_cast<QCommandLinkButton *>(widget());
    if (!link || link->description().isEmpty())
        return {};
    return {std::make_shared<DVPropertyPart>(widget(), "description", wholeRect)};
}

DVViewPtr DVButtonView::partAt(const QPoint & /*point*/) const
{
    return nullptr;
}
