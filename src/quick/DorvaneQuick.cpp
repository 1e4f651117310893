#include <Dorvane/DVQuick.h>

#include <Dorvane/Dorvane.h>

#include <QQmlEngine>

void DorvaneQuick::attach(QQmlEngine *engine)
{
    if (!engine)
        return;
    // Unique: a second attachment would re-translate twice. The connection ends with the engine.
    QObject::connect(Dorvane::notifier(), &DorvaneNotifier::textsChanged, engine, &QQmlEngine::retranslate,
                     Qt::UniqueConnection);
}
