// DVMarkedTexts: the markers of texts that had to be shown clean.
#pragma once

#include <QString>
#include <QStringList>

class QObject;

// Some views must not hold markers: what a line edit holds is read by the host, a window's title goes to the
// system. They show the clean text, and the marked one is remembered beside it, for as long as they show
// that. Main thread.
namespace DVMarkedTexts {

// Which text of an object, such as "text", "placeholderText", "windowTitle", "toolTip"; of a list of texts
// with its index.
struct Place
{
    const char *name; // a literal
    int index = -1;
};

// Remembers a marked text for an object that shows it without its markers.
void remember(QObject *object, const Place &place, const QString &markedText);
// What is remembered of a list's texts goes with them. From `first` on their indexes are higher by `by` now;
// a move down forgets those that it runs over.
void move(const QObject *object, const char *list, int first, int by);
// They stand in another order now: this is what the list shows.
void reorder(const QObject *object, const char *list, const QStringList &shown);
// The marked text of what the object shows, or `shown` itself when nothing is remembered for just that text.
QString markedText(const QObject *object, const Place &place, const QString &shown);

} // namespace DVMarkedTexts
