// What the host reads from its own fields, titles and menus: never a marker. Real windows.
#include "CleanHost.h"
#include "DVCleanFields.h"
#include "DVRows.h"

#include <QAction>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTextEdit>
#include <QWindow>

#include <array>

using namespace Qt::Literals::StringLiterals;

class tst_CleanTexts : public CleanHost
{
    Q_OBJECT

private Q_SLOTS:
    void noFilterWithoutMarkers()
    {
        start({{u"allowLocaleChange"_qs, false}});
        QLineEdit edit;
        edit.setText(u"\u200Bas the host had it\u2062"_qs);
        show(edit);
        QCOMPARE(edit.text(), u"\u200Bas the host had it\u2062"_qs);
    }

    void windowsThatAreThereAlready()
    {
        start({{u"allowLocaleChange"_qs, false}});
        QLineEdit edit(u"\u200Bmarked\u2062"_qs);
        edit.setWindowTitle(u"\u200Btitle\u2062"_qs);
        QMenu menu;
        menu.addAction(u"\u200Baction\u2062"_qs);
        menu.ensurePolished();
        show(edit);
        start();
        QCOMPARE(edit.text(), u"marked"_qs);
        QCOMPARE(edit.windowTitle(), u"title"_qs);
        QCOMPARE(menu.actions().first()->text(), u"action"_qs);
    }

    void lineEdits()
    {
        QLineEdit edit(tr_("Name"));
        const QSignalSpy changes(&edit, &QLineEdit::textChanged);
        show(edit);
        QCOMPARE(edit.text(), u"Nom"_qs);
        QCOMPARE(changes.count(), 0);
        QCOMPARE(DVMarkedTexts::markedText(&edit, {"text"}, edit.text()), tr_("Name"));
        QCOMPARE(dv_view(&edit)->text()->text, tr_("Name"));

        edit.setText(QString(u"A: " + tr_("Name")));
        QCOMPARE(edit.text(), u"A: Nom"_qs);
        QCOMPARE(changes.last().first().toString(), u"A: Nom"_qs); // what listeners hear is clean, too
        const QSignalSpy late(&edit, &QLineEdit::textChanged);     // connected behind us
        edit.setText(tr_("Name"));
        QTRY_COMPARE(late.last().first().toString(), u"Nom"_qs);
        edit.setText(tr_("Name"));
        edit.setText(u"own"_qs);
        QCoreApplication::processEvents();
        QCOMPARE(late.last().first().toString(), u"own"_qs);
        edit.setText(QString(u"A: " + tr_("Name")));
        QCOMPARE(DVMarkedTexts::markedText(&edit, {"text"}, edit.text()), QString(u"A: " + tr_("Name")));
        QTest::keyClicks(&edit, u"!"_qs);
        QCOMPARE(edit.text(), u"A: Nom!"_qs);
        QCOMPARE(DVMarkedTexts::markedText(&edit, {"text"}, edit.text()), edit.text());
    }

    // A host that formats its own field sets the same text again, which ends in plain Qt.
    void lineEditsWhoseHostsFormatThem_data()
    {
        const DVRows<bool, bool> row("isGuarded", "isLate");
        row("at once", false, false);
        row("at once, behind a guard", true, false);
        row("connected after the first show", false, true);
        row("connected after the first show, behind a guard", true, true);
    }
    void lineEditsWhoseHostsFormatThem()
    {
        QFETCH(bool, isGuarded);
        QFETCH(bool, isLate);
        QLineEdit edit;
        int calls = 0;
        bool isBusy = false;
        const auto format = [&] {
            if ((isGuarded && isBusy) || ++calls > 50)
                return;
            isBusy = true;
            edit.setText(tr_("Name"));
            isBusy = false;
        };
        if (isLate)
            show(edit);
        connect(&edit, &QLineEdit::textChanged, this, format);
        if (!isLate)
            show(edit);
        edit.setText(u"typed"_qs);
        for (int i = 0; i < 20; ++i)
            QCoreApplication::processEvents();
        QVERIFY2(calls < 10, qPrintable(QString::number(calls)));
        QCOMPARE(edit.text(), u"Nom"_qs);
    }

    void lineEditsKeepWhatTheUserDid()
    {
        QLineEdit edit;
        edit.setText(QString(u"x " + tr_("Name") + u" y"));
        edit.setModified(true);
        edit.setSelection(3, 4); // "Nom" and its end marker
        show(edit);
        QCOMPARE(edit.text(), u"x Nom y"_qs);
        QCOMPARE(edit.selectedText(), u"Nom"_qs);
        QCOMPARE(edit.cursorPosition(), 5);
        QVERIFY(edit.isModified());
        edit.insert(tr_("Name"));
        QCOMPARE(edit.text(), u"x Nom y"_qs);
        QCOMPARE(edit.cursorPosition(), 5);
    }

    void writersZeroWidthSpaces()
    {
        QLineEdit edit;
        show(edit);
        edit.setText(u"ភាសា\u200Bខ្មែរ"_qs);
        QCOMPARE(edit.text(), u"ភាសា\u200Bខ្មែរ"_qs);
        QVERIFY(!dv_holdsCues(u"a\u200Bb"));
        QVERIFY(dv_holdsCues(u"\u200Bcut off"));
        QVERIFY(dv_holdsCues(u"cut off\u2062 behind"));
    }

    void textEdits()
    {
        QTextEdit rich;
        rich.setHtml(tr_("Hello, <b>world</b>"));
        QPlainTextEdit plain;
        plain.setPlainText(QString(tr_("Name") + u"\n" + tr_("Name")));
        QString heard;
        connect(&rich, &QTextEdit::textChanged, this, [&] { heard = rich.toPlainText(); });
        show(rich);
        show(plain);
        QCOMPARE(rich.toPlainText(), u"Bonjour, monde"_qs);
        QVERIFY(isClean(rich.toHtml()));
        QVERIFY(rich.toHtml().contains(u"font-weight"_qs));
        QCOMPARE(plain.toPlainText(), u"Nom\nNom"_qs);
        for (QTextDocument *document : {rich.document(), plain.document()}) {
            QVERIFY(!document->isModified());
            QVERIFY(!document->isUndoAvailable());
            QVERIFY(document->isUndoRedoEnabled());
        }
        QVERIFY(isMarked(DVMarkedTexts::markedText(&plain, {"plainText"}, plain.toPlainText())));
        QVERIFY(isMarked(DVMarkedTexts::markedText(&rich, {"plainText"}, rich.toPlainText())));
        QVERIFY(isMarked(DVMarkedTexts::markedText(&rich, {"html"}, rich.toHtml())));
        rich.setPlainText(tr_("Name"));
        QCOMPARE(heard, u"Nom"_qs);

        // Only what changed is looked at; a host's slot may change more meanwhile.
        plain.setPlainText(u"a\nb\nlonger line"_qs);
        const auto changes = connect(plain.document(), &QTextDocument::contentsChange, this, [&] {
            if (!plain.toPlainText().startsWith(u'N'))
                QTextCursor(plain.document()).insertText(tr_("Name"));
        });
        plain.appendPlainText(u"d"_qs);
        QCOMPARE(plain.toPlainText(), u"Noma\nb\nlonger line\nd"_qs);
        disconnect(changes);
        QTextDocument other;
        other.setDocumentLayout(std::make_unique<QPlainTextDocumentLayout>(&other).release());
        plain.setDocument(&other);
        plain.appendPlainText(tr_("Name"));
        QCOMPARE(plain.toPlainText(), u"Nom"_qs);
        plain.setDocument(nullptr);
    }

    void undoingBringsNoMarkerBack()
    {
        QPlainTextEdit edit;
        show(edit);
        QTest::keyClicks(&edit, u"typed "_qs);
        edit.insertPlainText(tr_("Name"));
        QCOMPARE(edit.toPlainText(), u"typed Nom"_qs);
        QCOMPARE(edit.textCursor().position(), 9);
        QTest::keyClicks(&edit, u" more"_qs);
        constexpr int moreThanThereAre = 20;
        for (int i = 0; i < moreThanThereAre; ++i) {
            edit.undo();
            QVERIFY(isClean(edit.toPlainText()));
        }
        QCOMPARE(edit.toPlainText(), u"typed Nom"_qs);
        edit.redo();
        QCOMPARE(edit.toPlainText(), u"typed Nom more"_qs);
    }

    void comboBoxes()
    {
        QComboBox box;
        box.addItems({tr_("Name"), u"own"_qs});
        QComboBox editable;
        editable.setEditable(true);
        editable.addItem(tr_("Name"));
        const QSignalSpy changes(&box, &QComboBox::currentTextChanged);
        show(box);
        show(editable);
        QCOMPARE(box.currentText(), u"Nom"_qs);
        QCOMPARE(editable.currentText(), u"Nom"_qs);
        QCOMPARE(changes.count(), 0);
        QVERIFY(isMarked(DVMarkedTexts::markedText(&box, {"itemText", 0}, box.itemText(0))));
        box.addItem(tr_("&Save"));
        QCOMPARE(box.itemText(2), u"&Enregistrer"_qs);
        QCOMPARE(box.findText(u"&Enregistrer"_qs), 2);
        box.setItemText(1, tr_("Name"));
        QCOMPARE(box.itemText(1), u"Nom"_qs);
        editable.setEditText(tr_("Name"));
        QCOMPARE(editable.currentText(), u"Nom"_qs);
    }

    void comboBoxWithAnotherModel()
    {
        QComboBox box;
        show(box);
        QStandardItemModel model;
        model.appendRow(std::make_unique<QStandardItem>(tr_("Name")).release());
        box.setModel(&model);
        QTRY_COMPARE(box.currentText(), u"Nom"_qs); // when it is painted
    }

    void comboBoxThatIsDeletedMeanwhile()
    {
        QStandardItemModel model;
        QPointer<QComboBox> box = std::make_unique<QComboBox>().release();
        box->setModel(&model);
        show(*box);
        connect(&model, &QAbstractItemModel::dataChanged, this, [&box] { delete box.data(); });
        model.invisibleRootItem()->appendRows({std::make_unique<QStandardItem>(tr_("Name")).release(),
                                               std::make_unique<QStandardItem>(tr_("Name")).release()});
        QVERIFY(!box);
    }

    void comboBoxThatIsDeletedAtTheStart()
    {
        start({{u"allowLocaleChange"_qs, false}});
        QWidget window;
        QStandardItemModel model;
        QPointer<QComboBox> box = std::make_unique<QComboBox>(&window).release();
        box->setModel(&model);
        box->addItem(u"\u200Bmarked\u2062"_qs);
        const QPointer<QLabel> child = std::make_unique<QLabel>(box).release();
        show(window);
        connect(&model, &QStandardItemModel::itemChanged, this, [&box] { delete box.data(); });
        start();
        QVERIFY(!box && !child);
        QCOMPARE(model.item(0)->text(), u"marked"_qs);
    }

    void spinBoxes()
    {
        QDoubleSpinBox box;
        box.setPrefix(QString(tr_("Name") + u" "));
        box.setSuffix(tr_("Name"));
        box.setValue(4.5);
        const QSignalSpy changes(&box, &QDoubleSpinBox::valueChanged);
        show(box);
        QCOMPARE(box.prefix(), u"Nom "_qs);
        QVERIFY2(isClean(box.text()), qPrintable(box.text()));
        QVERIFY(isClean(box.findChild<QLineEdit *>()->text()));
        box.setSuffix(tr_("Name"));
        QTRY_COMPARE(box.suffix(), u"Nom"_qs);
        QCOMPARE(box.value(), 4.5);
        QCOMPARE(changes.count(), 0);
        box.stepUp();
        QCOMPARE(box.value(), 5.5);
    }

    void titles()
    {
        QWidget widget;
        widget.setWindowTitle(tr_("Name"));
        show(widget);
        QCOMPARE(widget.windowTitle(), u"Nom"_qs);
        QCOMPARE(widget.windowHandle()->title().left(3), u"Nom"_qs);
        widget.setWindowTitle(tr_("%1 of %2").arg(1).arg(2));
        QCOMPARE(widget.windowTitle(), u"1 sur 2"_qs);
        QVERIFY(isClean(widget.windowHandle()->title()));
        QVERIFY(isMarked(DVMarkedTexts::markedText(&widget, {"windowTitle"}, widget.windowTitle())));

        QWindow window;
        window.setTitle(tr_("Name"));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.title(), u"Nom"_qs);
        window.setTitle(tr_("&Save"));
        QCOMPARE(window.title(), u"&Enregistrer"_qs);
        QCOMPARE(DVMarkedTexts::markedText(&window, {"title"}, window.title()), tr_("&Save"));

        QGuiApplication::setApplicationDisplayName(tr_("Name"));
        QCOMPARE(QGuiApplication::applicationDisplayName(), u"Nom"_qs);
        QGuiApplication::setApplicationDisplayName({});
    }

    void menus()
    {
        QMainWindow window;
        QMenu *menu = window.menuBar()->addMenu(tr_("Name"));
        QAction *action = menu->addAction(tr_("&Save"));
        const QSignalSpy triggers(action, &QAction::triggered);
        show(window);
        QCOMPARE(menu->title(), u"Nom"_qs);
        QCOMPARE(action->text(), u"&Enregistrer"_qs);
        QCOMPARE(DVMarkedTexts::markedText(action, {"text"}, action->text()), tr_("&Save"));
        action->setText(tr_("Name"));
        QCOMPARE(action->text(), u"Nom"_qs);
        action->trigger();
        QCOMPARE(triggers.count(), 1);
    }

    void theMemoryEndsWithTheObject()
    {
        // One object at one address after the other: what the first had must not be found for the second.
        alignas(QObject) std::array<std::byte, sizeof(QObject)> place;
        auto *first = new (place.data()) QObject;
        DVMarkedTexts::remember(first, {"text"}, tr_("Name"));
        QVERIFY(isMarked(DVMarkedTexts::markedText(first, {"text"}, u"Nom"_qs)));
        QCOMPARE(DVMarkedTexts::markedText(first, {"text", 0}, u"Nom"_qs), u"Nom"_qs);
        QVERIFY2(first->dynamicPropertyNames().isEmpty(), "the host's objects are its own");
        first->~QObject();
        auto *second = new (place.data()) QObject;
        QCOMPARE(DVMarkedTexts::markedText(second, {"text"}, u"Nom"_qs), u"Nom"_qs);
        second->~QObject();
    }
};

QTEST_MAIN(tst_CleanTexts)
#include "tst_cleantexts.moc"
