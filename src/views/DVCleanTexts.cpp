#include "DVCleanTexts.h"

#include "DVCleanClipboard.h"
#include "DVCleanFields.h"
#include "DVCleanNames.h"
#include "DVCleanQuick.h"
#include "DVInterfaceTexts.h"
#include "DVMarkedTexts.h"
#include "DVTextChanges.h"

#include <QAbstractSpinBox>
#include <QAction>
#include <QActionEvent>
#include <QApplication>
#include <QComboBox>
#include <QDrag>
#include <QEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QStandardItemModel>
#include <QSystemTrayIcon>
#include <QTextEdit>
#include <QToolBar>
#include <QWindow>

#include <utility>

namespace {

bool isOurs(const QWidget &widget)
{
    return widget.window()->inherits("DVOverlayWindow");
}

// A line edit that is part of a spin box shows what the box makes of its value: Qt would not know its own
// prefix again.
bool isPartOfSpinBox(const QLineEdit &edit)
{
    return qobject_cast<QAbstractSpinBox *>(edit.parentWidget());
}

// A window that QML made says in its destructor, too, that it is what it was.
bool isDying(const QEvent &surfaceEvent)
{
    return static_cast<const QPlatformSurfaceEvent &>(surfaceEvent).surfaceEventType() ==
           QPlatformSurfaceEvent::SurfaceAboutToBeDestroyed;
}

void cleanNow(QWidget &widget, DVTelling telling)
{
    if (auto *edit = qobject_cast<QLineEdit *>(&widget)) {
        if (!isPartOfSpinBox(*edit))
            dv_cleanLineEdit(*edit);
    } else if (auto *rich = qobject_cast<QTextEdit *>(&widget)) {
        dv_cleanTextEdit(*rich, telling);
    } else if (auto *plain = qobject_cast<QPlainTextEdit *>(&widget)) {
        dv_cleanPlainTextEdit(*plain, telling);
    } else if (auto *box = qobject_cast<QAbstractSpinBox *>(&widget)) {
        dv_cleanSpinBox(*box);
    }
}

template<typename Edit> auto cleaner(Edit &edit)
{
    return [&edit, changes = std::make_shared<DVTextChanges>(*edit.document())] {
        if (changes->haveCues(*edit.document()))
            cleanNow(edit, DVTelling::Listeners);
    };
}

// Calls for changes of the box's own level only.
template<typename Signal, typename Function>
void connectRows(QComboBox &box, QObject &context, Signal signal, Function changed)
{
    const auto ours = [&box, changed](const QModelIndex &parent, int first, int last) {
        if (parent == box.rootModelIndex())
            changed(first, last);
    };
    QObject::connect(box.model(), signal, &context, ours);
}

// Follows the entries of the model that the box has now; the context ends with the box.
void connectEntries(QComboBox &box, QObject &context)
{
    using Model = QAbstractItemModel;
    connectRows(box, context, &Model::rowsInserted, [&box](int first, int last) {
        if (last + 1 < box.count())
            DVMarkedTexts::move(&box, "itemText", first, last + 1 - first);
        dv_cleanEntries(box, first, last);
    });
    connectRows(box, context, &Model::rowsRemoved, [&box](int first, int last) {
        DVMarkedTexts::move(&box, "itemText", last + 1, first - last - 1);
    });
    const auto changed = [&box](const QModelIndex &topLeft, const QModelIndex &bottomRight) {
        if (topLeft.parent() == box.rootModelIndex())
            dv_cleanEntries(box, topLeft.row(), bottomRight.row());
    };
    QObject::connect(box.model(), &Model::dataChanged, &context, changed);
    const auto sorted = [&box] {
        QStringList shown;
        for (int i = 0; i < box.count(); ++i)
            shown << box.itemText(i);
        DVMarkedTexts::reorder(&box, "itemText", shown);
    };
    if (qobject_cast<QStandardItemModel *>(box.model())) // of others nothing is remembered
        QObject::connect(box.model(), &Model::layoutChanged, &context, sorted);
}

} // namespace

DVCleanTexts::DVCleanTexts()
    : m_names(std::make_unique<DVCleanNames>())
{
    Q_ASSERT(qobject_cast<QApplication *>(QCoreApplication::instance()));
    qApp->installEventFilter(this);
    followClipboard();
    connect(qApp, &QGuiApplication::applicationDisplayNameChanged, this,
            [] { dv_cleanProperty(*qApp, "applicationDisplayName"); });
    const QWidgetList widgets = QApplication::allWidgets();
    for (const QPointer<QWidget> &widget : QList<QPointer<QWidget>>(widgets.begin(), widgets.end())) {
        if (widget && widget->testAttribute(Qt::WA_WState_Polished))
            polished(*widget);
    }
    const QWindowList windows = QGuiApplication::allWindows();
    for (QWindow *window : windows)
        followWindow(*window);
    sweep();
}

DVCleanTexts::~DVCleanTexts() = default;

bool DVCleanTexts::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::ChildAdded:
        if (QGuiApplication::mouseButtons() != Qt::NoButton)
            childAdded(static_cast<QChildEvent *>(event)->child());
        break;
    case QEvent::PlatformSurface:
        if (isDying(*event))
            break;
        [[fallthrough]];
    case QEvent::Expose:
        if (auto *window = qobject_cast<QWindow *>(watched))
            followWindow(*window);
        break;
    case QEvent::LanguageChange:
        if (watched == qApp)
            QMetaObject::invokeMethod(this, &DVCleanTexts::sweep, Qt::QueuedConnection);
        break;
    case QEvent::Polish:
    case QEvent::Paint:
    case QEvent::Show:
    case QEvent::FocusIn:
    case QEvent::WindowTitleChange:
    case QEvent::ToolTipChange:
    case QEvent::ActionAdded:
    case QEvent::ActionChanged:
        if (watched->isWidgetType() && !isOurs(*static_cast<QWidget *>(watched))) {
            const QPointer<QObject> alive = watched;
            filterWidget(*static_cast<QWidget *>(watched), *event);
            return !alive; // nobody may be given what is gone
        }
        break;
    default:
        break;
    }
    return false;
}

void DVCleanTexts::filterWidget(QWidget &widget, const QEvent &event)
{
    switch (event.type()) {
    case QEvent::Polish:
        polished(widget);
        break;
    case QEvent::WindowTitleChange:
        dv_cleanProperty(widget, "windowTitle");
        break;
    case QEvent::ToolTipChange:
        m_names->follow(widget);
        break;
    case QEvent::ActionAdded:
    case QEvent::ActionChanged: {
        QAction *action = static_cast<const QActionEvent &>(event).action();
        if (qobject_cast<QToolBar *>(&widget) && event.type() == QEvent::ActionAdded)
            dv_localizeInterfaceText(*action);
        if (qobject_cast<QMenu *>(&widget) || qobject_cast<QMenuBar *>(&widget))
            cleanAction(action);
        break;
    }
    case QEvent::Show:
        if (widget.isWindow())
            sweep();
        [[fallthrough]];
    default:
        beforePaint(widget);
    }
}

void DVCleanTexts::polished(QWidget &widget)
{
    if (isOurs(widget))
        return;
    dv_localizeInterfaceTexts(widget);
    cleanNow(widget, DVTelling::Nobody);
    dv_cleanProperty(widget, "windowTitle");
    if (qobject_cast<QMenu *>(&widget) || qobject_cast<QMenuBar *>(&widget)) {
        const auto actions = widget.actions();
        for (QAction *action : actions)
            cleanAction(action);
    }
    follow(widget);
    const QPointer<QWidget> alive = &widget;
    followEntries(widget);
    if (!alive)
        return;
    m_names->follow(widget);
    dv_followQuickWidget(widget, *this);
}

// What no signal told of, before anybody sees it.
void DVCleanTexts::beforePaint(QWidget &widget)
{
    const QPointer<QWidget> alive = &widget;
    followEntries(widget);
    if (!alive)
        return;
    if (auto *box = qobject_cast<QAbstractSpinBox *>(&widget))
        dv_cleanSpinBox(*box);
    m_names->follow(widget);
}

void DVCleanTexts::follow(QWidget &widget)
{
    if (auto *edit = qobject_cast<QLineEdit *>(&widget)) {
        if (!isPartOfSpinBox(*edit))
            connect(edit, &QLineEdit::textChanged, this,
                    [cleaner = std::make_shared<DVLineEditCleaner>(*edit)] { cleaner->textChanged(); });
    } else if (auto *rich = qobject_cast<QTextEdit *>(&widget)) {
        connect(rich, &QTextEdit::textChanged, this, cleaner(*rich));
    } else if (auto *plain = qobject_cast<QPlainTextEdit *>(&widget)) {
        connect(plain, &QPlainTextEdit::textChanged, this, cleaner(*plain));
    }
}

// A combo box says nothing when it gets another model.
void DVCleanTexts::followEntries(QWidget &widget)
{
    auto *box = qobject_cast<QComboBox *>(&widget);
    if (!box || !box->model())
        return;
    Entries &entries = m_entries[box];
    if (entries.model == box->model())
        return;
    if (!entries.connections)
        connect(box, &QObject::destroyed, this, [this, box] { m_entries.erase(box); });
    entries = {box->model(), std::make_unique<QObject>()};
    connectEntries(*box, *entries.connections);
    const QPointer<QComboBox> alive = box;
    const bool wasQuiet = box->blockSignals(true);
    dv_cleanEntries(*box, 0, box->count() - 1);
    if (alive)
        alive->blockSignals(wasQuiet);
}

void DVCleanTexts::followWindow(QWindow &window)
{
    if (window.inherits("QWidgetWindow")) // its widget sees to it
        return;
    connect(&window, &QWindow::windowTitleChanged, this, &DVCleanTexts::cleanTitle, Qt::UniqueConnection);
    dv_cleanProperty(window, "title");
    dv_followQuickWindow(window, *this);
}

void DVCleanTexts::cleanTitle()
{
    dv_cleanProperty(*sender(), "title");
}

void DVCleanTexts::followClipboard()
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    connect(clipboard, &QClipboard::changed, this,
            [clipboard](QClipboard::Mode mode) { dv_cleanClipboard(*clipboard, mode); });
    dv_cleanClipboard(*clipboard, QClipboard::Clipboard);
    dv_cleanClipboard(*clipboard, QClipboard::Selection);
}

// Menus may be shown by the system, and accessibility tools read an action's own text.
void DVCleanTexts::cleanAction(QAction *action)
{
    dv_cleanProperty(*action, "text");
    dv_cleanProperty(*action, "iconText");
    dv_cleanProperty(*action, "toolTip");
}

// While it is being added a child is nothing but a QObject, so it is looked at later: a drag runs an event
// loop.
void DVCleanTexts::childAdded(QObject *child)
{
    m_newChildren.append(child);
    if (std::exchange(m_isPosted, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_isPosted = false;
            const auto children = std::exchange(m_newChildren, {});
            for (const QPointer<QObject> &added : children) {
                if (auto *drag = qobject_cast<QDrag *>(added.data()))
                    dv_cleanDrag(*drag);
            }
        },
        Qt::QueuedConnection);
}

// What tells nobody when it changes.
void DVCleanTexts::sweep()
{
    dv_cleanProperty(*qApp, "applicationDisplayName");
    QObjectList roots = {qApp};
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows)
        roots.append(window);
    for (const QObject *root : std::as_const(roots)) {
        const auto icons = root->findChildren<QSystemTrayIcon *>();
        for (QSystemTrayIcon *icon : icons)
            dv_cleanProperty(*icon, "toolTip");
    }
}
