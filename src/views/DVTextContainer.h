// DVTextContainer: an object that draws the texts of its inner views itself, and is told of new ones.
#pragma once

#include <QMetaMethod>
#include <QPointer>
#include <QString>

class DVViewWithText;

// A widget that implements DVViewWithText, or any object with functions of those names for two texts, as QML
// declares them. Main thread.
class DVTextContainer
{
public:
    explicit DVTextContainer(QObject *object);

    // Whether the object takes texts.
    explicit operator bool() const;

    void updateText(const QString &text, const QString &withNewString) const;
    void updateAttributedText(const QString &text, const QString &withNewString) const;

private:
    QPointer<QObject> m_object;
    DVViewWithText *m_interface = nullptr; // of m_object
    QMetaMethod m_updateText;
    QMetaMethod m_updateAttributedText;
};
