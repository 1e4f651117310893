#include "Interposed.h"

#include <QCoreApplication>
#include <QTranslator>

#include <map>

#include <dlfcn.h>

namespace {

// By object: a filter that moves to the front is installed again, and Qt keeps it once.
std::map<const QObject *, QString> filters;
int installed = 0;

template<typename Function> Function next(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The program exports both, so that the libraries behind it find them first.
void QObject::installEventFilter(QObject *filter)
{
    if (this == QCoreApplication::instance())
        filters[filter] = QString::fromLatin1(filter->metaObject()->className());
    next<void (*)(QObject *, QObject *)>("_ZN7QObject18installEventFilterEPS_")(this, filter);
}

bool QCoreApplication::installTranslator(QTranslator *translator)
{
    ++installed;
    return next<bool (*)(QTranslator *)>("_ZN16QCoreApplication17installTranslatorEP11QTranslator")(
        translator);
}

QJsonArray Interposed::applicationFilters()
{
    QStringList names;
    for (const auto &[object, name] : filters)
        names += name;
    names.sort();
    return QJsonArray::fromStringList(names);
}

int Interposed::translators()
{
    return installed;
}
