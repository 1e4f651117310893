// DVCleanNames: names and descriptions for accessibility tools, without markers.
#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>

class QLabel;
class QTabBar;
class QWidget;

// Tools read a widget's accessible name, and where it has none its text. What shows a marked text gets that
// text without markers as its name; it loses it again when it shows another. A name that the host gave is
// only cleaned. There is no place for a wrapper round Qt's own accessible interfaces: they are made by
// functions that nobody can call but Qt, which keeps one for each object.
class DVCleanNames : public QObject
{
public:
    // Looks again when something changed since the last time. Cheap then otherwise.
    void follow(QWidget &widget);

private:
    struct Given
    {
        QString sources; // what the name was made of
        QString name;    // null: the name is the host's, or none
        QString description;
    };
    QString sourcesOf(const QWidget &widget) const;
    void forgetWhenGone(QWidget &widget);
    void followAlone(QWidget &widget);
    QWidget *buddyOf(QWidget &widget);
    void nameTabs(QTabBar &bar);
    static void name(QWidget &widget, Given &given);

    QHash<const QWidget *, Given> m_given;
    // By bar. Tabs move, and their names with them: which of them are ours the names themselves tell.
    QHash<const QWidget *, QSet<QString>> m_tabNames;
    QHash<const QWidget *, QPointer<const QLabel>> m_captions; // the labels whose buddies they are
};
