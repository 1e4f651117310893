// DVViewWithText: for views of an application that draw the texts of their inner views themselves.
#pragma once

#include <QObject>
#include <QString>

// A widget that implements it (Q_INTERFACES) is told of the new texts of what stands in it, with markers,
// while translations are reviewed. A QML item may have functions of these names instead. Main thread.
class DVViewWithText
{
public:
    virtual ~DVViewWithText() = default;

    virtual void dorvaneUpdateText(const QString &text, const QString &withNewString) = 0;
    // HTML.
    virtual void dorvaneUpdateAttributedText(const QString &text, const QString &withNewString) = 0;
};
Q_DECLARE_INTERFACE(DVViewWithText, "dorvane.DVViewWithText/1.0")
