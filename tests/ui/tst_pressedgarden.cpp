// A long press on any text of the example application in widgets finds exactly the strings that made it.
#include "MainWindow.h"
#include "PressedGarden.h"
#include "WidgetTour.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QStyle>
#include <QStyleOptionGroupBox>
#include <QTabBar>

namespace {

// Text and place of what a widget of Qt shows itself, asked in Qt's own words.
using Piece = QPair<QString, QPoint>;

QList<Piece> tabsOf(const QTabBar &bar)
{
    QList<Piece> pieces;
    for (int i = 0; i < bar.count(); ++i)
        pieces.append({bar.tabText(i), bar.tabRect(i).center()});
    return pieces;
}

// Of a menu bar, or a menu.
template<typename Menu> QList<Piece> actionsOf(const Menu &menu)
{
    QList<Piece> pieces;
    for (QAction *action : menu.actions())
        pieces.append({action->text(), menu.actionGeometry(action).center()});
    return pieces;
}

QList<Piece> entriesOf(const QAbstractItemView &view)
{
    QList<Piece> pieces;
    for (int row = 0; view.model() && row < view.model()->rowCount(); ++row) {
        const QModelIndex index = view.model()->index(row, 0);
        const QPoint at = view.visualRect(index).center();
        if (view.viewport()->rect().contains(at))
            pieces.append({index.data().toString(), view.viewport()->mapTo(&view, at)});
    }
    return pieces;
}

QPoint titleOf(const QGroupBox &box)
{
    QStyleOptionGroupBox option;
    option.initFrom(&box);
    option.text = box.title();
    option.subControls = QStyle::SC_GroupBoxFrame | QStyle::SC_GroupBoxLabel;
    return box.style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel, &box).center();
}

QList<Piece> piecesOf(const QWidget &widget)
{
    const QPoint middle = widget.rect().center();
    if (const auto *label = qobject_cast<const QLabel *>(&widget))
        return {{label->text(), middle}};
    if (const auto *button = qobject_cast<const QAbstractButton *>(&widget))
        return {{button->text(), middle}};
    if (const auto *edit = qobject_cast<const QLineEdit *>(&widget))
        return {{edit->text().isEmpty() ? edit->placeholderText() : QString(), middle}};
    if (const auto *combo = qobject_cast<const QComboBox *>(&widget))
        return {{combo->currentText(), middle}};
    if (const auto *box = qobject_cast<const QGroupBox *>(&widget))
        return {{box->title(), titleOf(*box)}};
    if (const auto *tabs = qobject_cast<const QTabBar *>(&widget))
        return tabsOf(*tabs);
    if (const auto *menus = qobject_cast<const QMenuBar *>(&widget))
        return actionsOf(*menus);
    if (const auto *view = qobject_cast<const QAbstractItemView *>(&widget))
        return entriesOf(*view);
    return {};
}

QList<SeenText> textsIn(const QWidget &window)
{
    QList<SeenText> texts;
    const auto widgets = window.findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        if (!widget->isVisible() || widget->window() != &window)
            continue;
        for (const auto &[text, at] : piecesOf(*widget))
            texts.append({window.windowHandle(), widget->mapTo(&window, at), text,
                          QString::fromLatin1(widget->metaObject()->className())});
    }
    return texts;
}

QList<SeenText> entriesOf(QMenu &menu)
{
    QList<SeenText> texts;
    for (const auto &[text, at] : actionsOf(menu))
        texts.append({menu.windowHandle(), at, text, QStringLiteral("QMenu")});
    return texts;
}

void closePopups()
{
    while (QWidget *popup = QApplication::activePopupWidget())
        popup->close();
    QCoreApplication::processEvents();
}

} // namespace

class tst_PressedGarden : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyText_data() { pressesOfAllKinds(); }
    void everyText();

private:
    static void pressInDialog(PressedGarden *garden, QDialog *dialog, const QString &steps);
};

// A press that closed it would have been the dialog's.
void tst_PressedGarden::pressInDialog(PressedGarden *garden, QDialog *dialog, const QString &steps)
{
    const QPointer<QDialog> shown = dialog;
    const auto texts = [&] {
        QCoreApplication::processEvents();
        return shown && shown->isVisible() ? textsIn(*shown) : QList<SeenText>();
    };
    garden->press(texts, steps);
    QVERIFY(shown && shown->isVisible());
    delete shown;
}

void tst_PressedGarden::everyText()
{
    QFETCH(const QString, steps);
    PressedGarden garden;
    MainWindow window;
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window)); // the one before may still have been losing the focus
    WidgetTour tour(window);
    for (int screen = 0; screen < 3; ++screen) {
        const auto texts = [&] {
            closePopups();
            tour.showScreen(screen);
            QCoreApplication::processEvents();
            return textsIn(window);
        };
        garden.press(texts, steps);
    }
    for (QMenu *menu : window.menuBar()->findChildren<QMenu *>(Qt::FindDirectChildrenOnly)) {
        const auto texts = [&] {
            closePopups();
            menu->popup(window.mapToGlobal(QPoint(50, 50)));
            QCoreApplication::processEvents();
            return entriesOf(*menu);
        };
        garden.press(texts, steps);
        closePopups();
    }
    QVERIFY(window.isVisible());             // it did not quit
    QVERIFY(!window.findChild<QDialog *>()); // and opened nothing

    tour.openPreferences();
    pressInDialog(&garden, window.findChild<QDialog *>(), steps);
    for (QAction *action : window.findChildren<QAction *>()) {
        if (action->menuRole() == QAction::AboutRole)
            action->trigger();
    }
    pressInDialog(&garden, window.findChild<QMessageBox *>(), steps);

    QVERIFY2(garden.wrong.isEmpty(), qPrintable(garden.wrong.join(u'\n')));
    QVERIFY2(garden.met.size() >= 70,
             qPrintable(QString::number(garden.met.size()))); // of the hundred strings
}

QTEST_MAIN(tst_PressedGarden)
#include "tst_pressedgarden.moc"
