// What a search for texts finds in windows, and what the tools do with it.
#pragma once

#include "DVCueMarkers.h"
#include "DVView.h"

#include <QTest>
#include <QWidget>

// The labels at or below a view, as they are looked for: what is a label is not looked into.
inline QList<DVViewPtr> labels(const DVViewPtr &view)
{
    if (!view)
        return {};
    if (view->text())
        return {view};
    QList<DVViewPtr> found;
    for (const DVViewPtr &child : view->subviews())
        found << labels(child);
    return found;
}

// As in "[Hello {5}]".
inline QStringList texts(const DVViewPtr &view)
{
    QStringList found;
    for (const DVViewPtr &label : labels(view)) {
        if (!label->text()->text.isEmpty())
            found << dv_stringShowingCues(label->text()->text);
    }
    return found;
}
inline QStringList texts(QObject *object)
{
    return texts(dv_view(object));
}

inline DVViewPtr labelWith(QObject *object, const QString &text)
{
    for (const DVViewPtr &label : labels(dv_view(object))) {
        if (label->text()->text == text)
            return label;
    }
    return nullptr;
}

// Whether the text was found, and could be.
inline bool replace(QObject *object, const QString &text, const QString &newText)
{
    const DVViewPtr label = labelWith(object, text);
    if (label)
        label->setText({text, {}}, {newText, {}});
    else
        qWarning("There is only %s", qPrintable(texts(object).join(QStringLiteral(", "))));
    return label != nullptr;
}

inline bool isShown(QWidget &widget)
{
    widget.show();
    return QTest::qWaitForWindowExposed(widget.window());
}
