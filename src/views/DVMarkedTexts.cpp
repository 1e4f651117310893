#include "DVMarkedTexts.h"

#include "DVCueMarkers.h"

#include <QHash>
#include <QMap>
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

void DVMarkedTexts::move(const QObject *object, const char *list, int first, int by)
{
    const auto texts = remembered().find(object);
    if (texts == remembered().end())
        return;
    Texts moved;
    for (auto text = texts->cbegin(); text != texts->cend(); ++text) {
        const auto &[name, index] = text.key();
        if (name != list || index < qMin(first, first + by))
            moved.insert(text.key(), *text);
        else if (index >= first)
            moved.insert({name, index + by}, *text);
    }
    *texts = moved;
}

void DVMarkedTexts::reorder(const QObject *object, const char *list, const QStringList &shown)
{
    const auto texts = remembered().find(object);
    if (texts == remembered().end())
        return;
    QHash<QString, QMap<int, QString>> waiting; // by what is shown; those that look the same keep their order
    Texts ordered;
    for (auto text = texts->cbegin(); text != texts->cend(); ++text) {
        if (text.key().first == list)
            waiting[dv_stringByRemovingCues(*text)].insert(text.key().second, *text);
        else
            ordered.insert(text.key(), *text);
    }
    for (int i = 0; i < shown.size(); ++i) {
        const auto same = waiting.find(shown[i]);
        if (same != waiting.end() && !same->isEmpty())
            ordered.insert({list, i}, same->take(same->firstKey()));
    }
    *texts = ordered;
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
