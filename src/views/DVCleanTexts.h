// DVCleanTexts: keeps markers inside the application.
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

#include <memory>
#include <unordered_map>

class DVCleanNames;
class QAction;
class QEvent;
class QWidget;
class QWindow;

// While one exists, what the host's fields, menus and windows hold, what accessibility tools read, and what
// is copied or dragged has no markers; DVMarkedTexts remembers them. It looks at a widget when it is
// polished, and again at each change that it can see: by a signal, an event, or at the latest before it is
// painted. In review and capture modes it also gives texts of interface files their strings
// (DVInterfaceTexts.h).
//
// A host that listens to a field's change signal hears of a marked text more than once: what it set, and last
// the clean one. Of everything else it hears nothing. Windows of ours are left alone. Main thread, with a
// QApplication.
class DVCleanTexts : public QObject
{
    Q_OBJECT

public:
    DVCleanTexts();
    ~DVCleanTexts() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void filterWidget(QWidget &widget, const QEvent &event);
    void polished(QWidget &widget);
    void beforePaint(QWidget &widget);
    void follow(QWidget &widget);
    void followEntries(QWidget &widget);
    void followWindow(QWindow &window);
    void cleanTitle();
    void followClipboard();
    void cleanAction(QAction *action);
    void childAdded(QObject *child);
    void sweep();

    std::unique_ptr<DVCleanNames> m_names;
    struct Entries
    {
        QPointer<const QObject> model;
        std::unique_ptr<QObject> connections; // end with it
    };
    std::unordered_map<const QObject *, Entries> m_entries; // those of combo boxes that are followed
    QList<QPointer<QObject>> m_newChildren;                 // while the mouse is down: one may be a drag
    bool m_isPosted = false;
};
