#include "DVMarkedTexts.h"

#include "DVCueMarkers.h"

#include <QHash>
#include <QObject>
#include <QPair>

namespace {

using Key = QPair<QByteArray, int>;
using Texts = QHash<Key, QString>;

// Made when the first text is remembered: an application without reviews has none. Never destroyed: objects
// of the host's may be deleted after everything of ours.
QHash<const QObject *, Texts> &remembered()
{
    static auto *texts = new QHash<const QObject *, Texts>; // NOLINT(cppcoreguidelines-owning-memory)
    return *texts;
}

} // namespace

void DVMarkedTexts::remember(QObject *object, const Place &place, const QString &markedText)
{
    auto &all = remembered();
    if (!all.contains(object))
        QObject::connect(object, &QObject::destroyed, object, [object] { remembered().remove(object); });
    all[object].insert({QByteArray(place.name), place.index}, markedText);
}

QString DVMarkedTexts::markedText(const QObject *object, const Place &place, const QString &shown)
{
    const auto texts = remembered().constFind(object);
    if (texts == remembered().constEnd())
        return shown;
    const QString marked =
        texts->value({QByteArray::fromRawData(place.name, qsizetype(qstrlen(place.name))), place.index});
    return dv_stringByRemovingCues(marked) == shown ? marked : shown;
}
