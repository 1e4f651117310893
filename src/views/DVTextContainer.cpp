#include "DVTextContainer.h"

#include <Dorvane/DVViewWithText.h>

#include <QVariant>

namespace {

bool isText(int type)
{
    return type == QMetaType::QString || type == QMetaType::QVariant;
}

// The function of that name which takes two texts, also as QML's untyped ones.
QMetaMethod functionOf(const QObject *object, const char *name)
{
    const QMetaObject *type = object->metaObject();
    for (int i = type->methodCount() - 1; i >= 0; --i) {
        const QMetaMethod method = type->method(i);
        if (method.name() == name && method.parameterCount() == 2 &&
            method.methodType() != QMetaMethod::Signal && isText(method.parameterType(0)) &&
            method.parameterType(0) == method.parameterType(1))
            return method;
    }
    return {};
}

void call(const QMetaMethod &method, QObject *object, const QString &text, const QString &newText)
{
    if (!method.isValid() || !object)
        return;
    if (method.parameterType(0) == QMetaType::QString)
        method.invoke(object, Qt::DirectConnection, Q_ARG(QString, text), Q_ARG(QString, newText));
    else
        method.invoke(object, Qt::DirectConnection, Q_ARG(QVariant, text), Q_ARG(QVariant, newText));
}

} // namespace

DVTextContainer::DVTextContainer(QObject *object)
    : m_object(object)
{
    if (!object)
        return;
    m_interface = qobject_cast<DVViewWithText *>(object);
    if (m_interface)
        return;
    m_updateText = functionOf(object, "dorvaneUpdateText");
    m_updateAttributedText = functionOf(object, "dorvaneUpdateAttributedText");
}

DVTextContainer::operator bool() const
{
    return m_object && (m_interface || m_updateText.isValid() || m_updateAttributedText.isValid());
}

void DVTextContainer::updateText(const QString &text, const QString &withNewString) const
{
    if (m_object && m_interface)
        m_interface->dorvaneUpdateText(text, withNewString);
    else
        call(m_updateText, m_object, text, withNewString);
}

void DVTextContainer::updateAttributedText(const QString &text, const QString &withNewString) const
{
    if (m_object && m_interface)
        m_interface->dorvaneUpdateAttributedText(text, withNewString);
    else
        call(m_updateAttributedText, m_object, text, withNewString);
}
