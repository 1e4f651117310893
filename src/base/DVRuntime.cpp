#include <Dorvane/DVRuntime.h>

#include "DVLog.h"
#include "DVMethodTable.h"

#include <QMetaMethod>

namespace {

bool replaceAndStore(const char *className, DVMethodTable::Kind kind, const char *selector, DVImp imp,
                     DVImp *store)
{
    const bool complete = className && selector && imp;
    const DVImp old = complete ? DVMethodTable::replace(className, kind, selector, imp) : nullptr;
    if (!old) {
        dv_logDebug(QStringLiteral("Swizzle: Method not found"));
        return false;
    }
    if (store)
        *store = old;
    return true;
}

// Signals are left out: emitting one in the sender's name is no answer to a question.
QMetaMethod methodWithoutArguments(const QObject *receiver, const QString &selector)
{
    if (!receiver)
        return {};
    const QMetaObject *metaObject = receiver->metaObject();
    const QByteArray signature = selector.toUtf8() + "()";
    const QMetaMethod method = metaObject->method(metaObject->indexOfMethod(signature.constData()));
    const bool callable =
        method.methodType() == QMetaMethod::Method || method.methodType() == QMetaMethod::Slot;
    return callable ? method : QMetaMethod();
}

QVariant resultOf(const QMetaMethod &method, QObject *receiver)
{
    const QMetaType type = method.returnMetaType();
    if (type == QMetaType::fromType<QVariant>()) {
        QVariant result;
        method.invoke(receiver, Qt::DirectConnection, QReturnArgument<QVariant>(method.typeName(), result));
        return result;
    }
    if (type == QMetaType::fromType<void>()) {
        method.invoke(receiver, Qt::DirectConnection);
        return {};
    }
    QVariant result(type);
    if (result.isValid())
        method.invoke(receiver, Qt::DirectConnection,
                      QGenericReturnArgument(method.typeName(), result.data()));
    return result;
}

} // namespace

bool dv_class_swizzleMethodAndStore(const char *className, const char *selector, DVImp newImp, DVImp *store)
{
    return replaceAndStore(className, DVMethodTable::Kind::Instance, selector, newImp, store);
}

bool dv_swizzleMethod(const char *className, const char *selector, DVImp imp, DVImp *store)
{
    return dv_class_swizzleMethodAndStore(className, selector, imp, store);
}

bool dv_swizzleClassMethod(const char *className, const char *selector, DVImp imp, DVImp *store)
{
    return replaceAndStore(className, DVMethodTable::Kind::Class, selector, imp, store);
}

bool dv_performSelector(QObject *receiver, const QString &selector)
{
    const QMetaMethod method = methodWithoutArguments(receiver, selector);
    return method.isValid() && method.invoke(receiver, Qt::DirectConnection);
}

QVariant dv_getObjectWithSelector(QObject *receiver, const QString &selector)
{
    if (!receiver)
        return {};
    const QMetaMethod method = methodWithoutArguments(receiver, selector);
    if (method.isValid())
        return resultOf(method, receiver);
    return receiver->property(selector.toUtf8().constData());
}
