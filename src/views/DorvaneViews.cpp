#include "DorvaneViews.h"

#include "DVLog.h"
#include "DVMarkup.h"
#include "DVTextContainer.h"

namespace {

DVViewText richText(const QString &html)
{
    return {DVMarkup::plainText(html), html};
}

DVViewStringsPtr stringsOf(const DVViewPtr &label, const DVViewText &text)
{
    auto strings = std::make_shared<DVViewStrings>();
    strings->view = label;
    strings->originalString = text.text;
    strings->originalAttributedString = text.richText;
    return strings;
}

} // namespace

QList<DVViewStringsPtr> dorvaneStringsInSubviews(const DVViewPtr &view)
{
    QList<DVViewStringsPtr> found;
    QList<DVViewPtr> ahead{view}; // the next one last
    while (!ahead.isEmpty()) {
        const DVViewPtr next = ahead.takeLast();
        if (!next)
            continue;
        if (const auto text = next->text()) {
            found.append(stringsOf(next, *text));
            continue;
        }
        const QList<DVViewPtr> children = next->subviews();
        std::copy(children.crbegin(), children.crend(), std::back_inserter(ahead));
    }
    return found;
}

DVFoundStrings dorvaneStringsInSuperviewsWithRoot(const DVViewPtr &view)
{
    for (DVViewPtr above = dv_superview(view); above; above = dv_superview(above)) {
        dv_logDebugLazily([&] {
            return QStringLiteral("Looking for strings to edit in superview %1")
                .arg(dv_viewDescription(above));
        });
        const QList<DVViewStringsPtr> strings = dorvaneStringsInSubviews(above);
        if (!strings.isEmpty())
            return {strings, above};
    }
    return {};
}

QList<DVViewPtr> dv_subviews(const DVViewPtr &view)
{
    return view ? view->subviews() : QList<DVViewPtr>();
}

DVViewPtr dv_superview(const DVViewPtr &view)
{
    return view ? view->superview() : nullptr;
}

bool dv_isLabel(const DVViewPtr &view)
{
    return view && view->text();
}

QRectF dv_frame(const DVViewPtr &view)
{
    if (!view)
        return {};
    const DVViewPtr above = view->superview();
    return above ? view->frame().translated(-above->frame().topLeft()) : view->frame();
}

QPointF dv_convertToWindowPoint(const DVViewPtr &view, const QPointF &point)
{
    return view ? view->frame().topLeft() + point : point;
}

bool dv_isChildOfView(const DVViewPtr &view, const DVViewPtr &ancestor)
{
    if (!ancestor)
        return false;
    for (DVViewPtr above = dv_superview(view); above; above = dv_superview(above)) {
        if (above->isSameAs(*ancestor))
            return true;
    }
    return false;
}

QString dv_viewDescription(const DVViewPtr &view)
{
    const QObject *object = view ? view->object() : nullptr;
    if (!object)
        return QStringLiteral("(none)");
    const QString kind = QString::fromLatin1(object->metaObject()->className());
    return object->objectName().isEmpty() ? kind : QString(kind % u' ' % object->objectName());
}

void dorvaneUpdateText(const DVViewPtr &view, const QString &text, const QString &withNewString)
{
    if (view)
        view->setText({text, {}}, {withNewString, {}});
}

void dorvaneUpdateAttributedText(const DVViewPtr &view, const QString &text, const QString &withNewString)
{
    if (view)
        view->setText(richText(text), richText(withNewString));
}

void dorvaneUpdateSubviewsText(const DVViewPtr &view, const QString &text, const QString &withNewString)
{
    QList<DVViewPtr> ahead{view}; // the next one last
    while (!ahead.isEmpty()) {
        const DVViewPtr next = ahead.takeLast();
        if (!next)
            continue;
        if (const DVTextContainer container(next->object()); container) {
            container.updateText(text, withNewString);
            continue;
        }
        const QList<DVViewPtr> children = next->subviews();
        std::copy(children.crbegin(), children.crend(), std::back_inserter(ahead));
    }
}
