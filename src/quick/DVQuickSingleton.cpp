#include "DVQuickSingleton.h"

#include "DVQuickText.h"

#include <Dorvane/DVQuick.h>
#include <Dorvane/Dorvane.h>

#include <QCoreApplication>
#include <QPointer>
#include <QQmlEngine>
#include <QQmlInfo>

namespace {

// The lookups behind the two functions, which take any number of values.
class Lookup : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // The lookup of qsTr(): the bundle's own marks texts while the host may change the locale.
    Q_INVOKABLE QString text(const QString &key, const QVariantList &values) const
    {
        return dv_textWithValues(QCoreApplication::translate("", key.toUtf8().constData()), values);
    }
    Q_INVOKABLE QString pluralText(const QString &key, int n, const QVariantList &values) const
    {
        return dv_textWithValues(QCoreApplication::translate("", key.toUtf8().constData(), nullptr, n),
                                 values);
    }
};

QJSValue function(QQmlEngine &engine, const QString &source, const QJSValue &lookup)
{
    return engine.evaluate(source).call({lookup});
}

} // namespace

DVQuickSingleton::DVQuickSingleton(QQmlEngine &engine)
    : m_locale(Dorvane::locale().identifier())
{
    DorvaneQuick::attach(&engine);
    auto *child = new Lookup(this);
    QQmlEngine::setObjectOwnership(child, QQmlEngine::CppOwnership);
    const QJSValue lookup = engine.newQObject(child);
    m_translate =
        function(engine, QStringLiteral("(lookup => (key, ...values) => lookup.text(key, values))"), lookup);
    m_plural = function(
        engine, QStringLiteral("(lookup => (key, n, ...values) => lookup.pluralText(key, n, values))"),
        lookup);
    connect(Dorvane::notifier(), &DorvaneNotifier::textsChanged, this, &DVQuickSingleton::takeNews);
    // Another locale may serve the same texts. Queued behind the event that announces other ones.
    connect(Dorvane::notifier(), &DorvaneNotifier::stringsUpdated, this, &DVQuickSingleton::takeLocale,
            Qt::QueuedConnection);
}

QStringList DVQuickSingleton::locales() const
{
    QStringList identifiers;
    for (const DVLocale &locale : Dorvane::availableLocales())
        identifiers.append(locale.identifier());
    return identifiers;
}

void DVQuickSingleton::setLocale(const QString &id, const QJSValue &completion)
{
    Dorvane::setLocaleWithId(id, [guard = QPointer(this), completion](bool success) {
        if (!guard || !completion.isCallable())
            return;
        const QJSValue result = completion.call({success});
        if (result.isError())
            qmlWarning(guard) << result.toString();
    });
}

void DVQuickSingleton::takeNews()
{
    const QString before = std::exchange(m_locale, Dorvane::locale().identifier());
    ++m_revision;
    if (m_locale != before)
        Q_EMIT localeChanged();
    Q_EMIT revisionChanged();
}

void DVQuickSingleton::takeLocale()
{
    if (m_locale != Dorvane::locale().identifier())
        takeNews();
}

#include "DVQuickSingleton.moc"
