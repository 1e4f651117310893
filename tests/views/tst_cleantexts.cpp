// What the host reads from its own fields, titles and menus, what is copied and what accessibility tools
// read: never a marker. Real windows.
#include "DVCleanClipboard.h"
#include "DVCleanFields.h"
#include "DVCleanTexts.h"
#include "DVCueMarkers.h"
#include "DVInAppTools.h"
#include "DVMarkedTexts.h"
#include "DVTestHost.h"
#include "DVView.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QDrag>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTabBar>
#include <QTextEdit>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

namespace {

class Tools : public DVInAppTools
{
public:
    void setupEditionActions() override {}
    void setupContextActions() override {}
    void openLoginForm(std::function<void(bool)> completion) override { completion(true); }
    void captureWindow(QObject *, std::function<void(const DVErrorOr &)> completion) override
    {
        completion({});
    }
    void textsAreMarked(bool marked) override
    {
        m_clean = marked ? std::make_unique<DVCleanTexts>() : nullptr;
    }

private:
    std::unique_ptr<DVCleanTexts> m_clean;
};

QString tr_(const char *text)
{
    return QCoreApplication::translate("Window", text);
}

bool isClean(const QString &text)
{
    return dv_stringByRemovingCues(text) == text;
}

bool isMarked(const QString &text)
{
    return !dv_localizedStringsInString(text).isEmpty();
}

QString accessible(QObject *object, QAccessible::Text what = QAccessible::Name)
{
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(object);
    return interface ? interface->text(what) : u"no interface"_qs;
}

template<typename Widget> void show(Widget &widget)
{
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(widget.window()));
}

} // namespace

class tst_CleanTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void noFilterWithoutMarkers();
    void windowsThatAreThereAlready();
    void lineEdits();
    void lineEditsKeepWhatTheUserDid();
    void writersZeroWidthSpaces();
    void listenersHearTheCleanText();
    void textEdits();
    void undoingBringsNoMarkerBack();
    void comboBoxes();
    void comboBoxWithAnotherModel();
    void spinBoxes();
    void titles();
    void menus();
    void clipboard();
    void draggedData();
    void accessibleNames();
    void accessibleNamesFollow();
    void hostsAccessibleNames();
    void interfaceTexts();
    void comboBoxThatIsDeletedMeanwhile();
    void interfaceTextsOnlyInReviewModes();
    void nothingThatIsReadBackHasMarkers();
    void theMemoryEndsWithTheObject();

private:
    void start(const QVariantMap &more = {{u"allowLocaleChange"_qs, true}})
    {
        m_host->restart();
        QVariantMap options = m_host->servingOptions(m_server);
        for (auto option = more.begin(); option != more.end(); ++option)
            options.insert(option.key(), option.value());
        DVMainController::sharedInstance().setInAppTools(std::make_unique<Tools>());
        Dorvane::startWithProjectId(u"p"_qs, options);
    }

    DVFaultServer m_server;
    std::unique_ptr<DVTestHost> m_host;
};

void tst_CleanTexts::initTestCase()
{
    m_server.setHandler([](const auto &) {
        return DVTestHost::publication(DVTestHost::xliff(
            {{u"1"_qs, u"Name"_qs, u"Name"_qs, u"Nom"_qs},
             {u"2"_qs, u"&Save"_qs, u"&amp;Save"_qs, u"&amp;Enregistrer"_qs},
             {u"3"_qs, u"%1 of %2"_qs, u"s"_qs, u"<ph id=\"1\">%1</ph> sur <ph id=\"2\">%2</ph>"_qs},
             {u"4"_qs, u"Hello, <b>world</b>"_qs, u"s"_qs, u"Bonjour, &lt;b&gt;monde&lt;/b&gt;"_qs}}));
    });
}

void tst_CleanTexts::init()
{
    m_host = std::make_unique<DVTestHost>();
    m_host->package(u"en.lproj/Localizable.strings"_qs,
                    "\"main-label.text\" = \"Packaged label\"; \"plain\" = \"Other label\"; "
                    "\"tab-1.title\" = \"First tab\"; \"bar-item.title\" = \"Bar item\";");
    start();
    QVERIFY2(isMarked(tr_("Name")), "the tests need marked texts");
}

void tst_CleanTexts::cleanup()
{
    m_host.reset();
}

void tst_CleanTexts::noFilterWithoutMarkers()
{
    start({{u"allowLocaleChange"_qs, false}});
    QLineEdit edit;
    edit.setText(u"\u200Bas the host had it\u2062"_qs);
    show(edit);
    QCOMPARE(edit.text(), u"\u200Bas the host had it\u2062"_qs);
}

void tst_CleanTexts::windowsThatAreThereAlready()
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

void tst_CleanTexts::lineEdits()
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
    QCOMPARE(DVMarkedTexts::markedText(&edit, {"text"}, edit.text()), QString(u"A: " + tr_("Name")));
    QTest::keyClicks(&edit, u"!"_qs);
    QCOMPARE(edit.text(), u"A: Nom!"_qs);
    QCOMPARE(DVMarkedTexts::markedText(&edit, {"text"}, edit.text()), edit.text());
}

void tst_CleanTexts::lineEditsKeepWhatTheUserDid()
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
    edit.setText(tr_("Name"));
    edit.setSelection(3, -2);
    const int cursor = edit.cursorPosition();
    edit.setText(edit.text());
    QCOMPARE(cursor, 1);
}

void tst_CleanTexts::writersZeroWidthSpaces()
{
    QLineEdit edit;
    show(edit);
    edit.setText(u"ភាសា\u200Bខ្មែរ"_qs);
    QCOMPARE(edit.text(), u"ភាសា\u200Bខ្មែរ"_qs);
    QVERIFY(!dv_holdsCues(u"a\u200Bb"));
    QVERIFY(dv_holdsCues(u"\u200Bcut off"));
    QVERIFY(dv_holdsCues(u"cut off\u2062 behind"));
}

void tst_CleanTexts::listenersHearTheCleanText()
{
    QLineEdit edit;
    QTextEdit rich;
    QString heardOfLine;
    QString heardOfRich;
    connect(&edit, &QLineEdit::textChanged, this, [&](const QString &text) { heardOfLine = text; });
    connect(&rich, &QTextEdit::textChanged, this, [&] { heardOfRich = rich.toPlainText(); });
    show(edit);
    show(rich);
    edit.setText(tr_("Name"));
    rich.setPlainText(tr_("Name"));
    QCOMPARE(heardOfLine, u"Nom"_qs);
    QCOMPARE(heardOfRich, u"Nom"_qs);
}

void tst_CleanTexts::textEdits()
{
    QTextEdit rich;
    rich.setHtml(tr_("Hello, <b>world</b>"));
    QPlainTextEdit plain;
    plain.setPlainText(QString(tr_("Name") + u"\n" + tr_("Name")));
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
}

void tst_CleanTexts::undoingBringsNoMarkerBack()
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

void tst_CleanTexts::comboBoxes()
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

void tst_CleanTexts::comboBoxWithAnotherModel()
{
    QComboBox box;
    show(box);
    QStandardItemModel model;
    model.appendRow(std::make_unique<QStandardItem>(tr_("Name")).release());
    box.setModel(&model);
    QTRY_COMPARE(box.currentText(), u"Nom"_qs); // when it is painted
}

void tst_CleanTexts::spinBoxes()
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

void tst_CleanTexts::titles()
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

void tst_CleanTexts::menus()
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

void tst_CleanTexts::clipboard()
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->setText(tr_("Name"));
    QCOMPARE(clipboard->text(), u"Nom"_qs);
    QLabel label(tr_("%1 of %2").arg(3).arg(4));
    label.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    show(label);
    label.setFocus();
    QTest::keyClick(&label, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&label, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(clipboard->text(), u"3 sur 4"_qs);
    QTextEdit rich;
    rich.setHtml(tr_("Hello, <b>world</b>"));
    rich.setReadOnly(true);
    QTextDocument marked;
    marked.setHtml(tr_("Hello, <b>world</b>"));
    auto data = std::make_unique<QMimeData>();
    data->setText(marked.toPlainText());
    data->setHtml(marked.toHtml());
    data->setData(u"application/x-own"_qs, "bytes");
    clipboard->setMimeData(data.release());
    QCOMPARE(clipboard->text(), u"Bonjour, monde"_qs);
    QVERIFY(clipboard->mimeData()->hasHtml());
    QVERIFY(isClean(clipboard->mimeData()->html()));
    QCOMPARE(clipboard->mimeData()->data(u"application/x-own"_qs), QByteArray("bytes"));
}

void tst_CleanTexts::draggedData()
{
    QMimeData data;
    data.setText(u"half of \u200Ba string"_qs);
    data.setData(u"text/x-moz-url"_qs, u"\u200Bx\u2062"_qs.toUtf8());
    data.setData(u"application/vnd.oasis.opendocument.text"_qs, "zipped");
    data.setImageData(QImage(2, 2, QImage::Format_RGB32));
    const auto clean = dv_cleanMimeData(data);
    QVERIFY(clean);
    QCOMPARE(clean->text(), u"half of a string"_qs);
    QCOMPARE(clean->data(u"text/x-moz-url"_qs), QByteArray("x"));
    QVERIFY(!clean->hasFormat(u"application/vnd.oasis.opendocument.text"_qs));
    QVERIFY(clean->hasImage());
    QVERIFY2(!dv_cleanMimeData(*clean), "what is clean is left as it is");

    QWidget source;
    show(source);
    QTest::mousePress(source.windowHandle(), Qt::LeftButton);
    auto drag = std::make_unique<QDrag>(&source);
    auto dragged = std::make_unique<QMimeData>();
    dragged->setText(tr_("Name"));
    drag->setMimeData(dragged.release());
    QCoreApplication::processEvents(); // as a drag does while it runs
    QCOMPARE(drag->mimeData()->text(), u"Nom"_qs);
    QTest::mouseRelease(source.windowHandle(), Qt::LeftButton);
}

void tst_CleanTexts::accessibleNames()
{
    QMainWindow window;
    window.setWindowTitle(tr_("Name"));
    auto *content = std::make_unique<QWidget>().release();
    window.setCentralWidget(content);
    auto *layout = std::make_unique<QVBoxLayout>(content).release();
    QLabel label(tr_("%1 of %2").arg(1).arg(2));
    QPushButton button(tr_("&Save"));
    QGroupBox group(tr_("Name"));
    QLineEdit edit;
    QLabel caption(tr_("&Save"));
    caption.setBuddy(&edit);
    QTabBar tabs;
    tabs.addTab(tr_("Name"));
    button.setToolTip(tr_("Name"));
    edit.setPlaceholderText(tr_("Name"));
    for (QWidget *widget : QList<QWidget *>{&label, &button, &group, &caption, &edit, &tabs})
        layout->addWidget(widget);
    QMenu *menu = window.menuBar()->addMenu(tr_("Name"));
    menu->addAction(tr_("&Save"));
    show(window);
    QCOMPARE(accessible(&label), u"1 sur 2"_qs);
    QCOMPARE(accessible(&button), u"Enregistrer"_qs);
    QCOMPARE(accessible(&button, QAccessible::Description), u"Nom"_qs);
    QCOMPARE(accessible(&group), u"Nom"_qs);
    QVERIFY(isMarked(label.text()) && isMarked(button.text()) && isMarked(group.title()));

    QList<QAccessibleInterface *> open{QAccessible::queryAccessibleInterface(&window)};
    int count = 0;
    while (!open.isEmpty()) {
        const QAccessibleInterface *interface = open.takeLast();
        for (int what = QAccessible::Name; what <= QAccessible::Accelerator; ++what) {
            const QString text = interface->text(QAccessible::Text(what));
            QVERIFY2(isClean(text), qPrintable(dv_stringShowingCues(text)));
        }
        for (int i = 0; i < interface->childCount(); ++i)
            open.append(interface->child(i));
        ++count;
    }
    QVERIFY2(count > 10, "there was something to read");
}

void tst_CleanTexts::accessibleNamesFollow()
{
    QLabel label(tr_("Name"));
    show(label);
    QCOMPARE(accessible(&label), u"Nom"_qs);
    label.setText(tr_("%1 of %2").arg(5).arg(6));
    QTRY_COMPARE(accessible(&label), u"5 sur 6"_qs);
    label.setText(u"the host's"_qs);
    QTRY_COMPARE(accessible(&label), u"the host's"_qs);
    QVERIFY(label.accessibleName().isEmpty());
    label.setToolTip(tr_("Name"));
    QCOMPARE(accessible(&label, QAccessible::Description), u"Nom"_qs);
    label.setToolTip(u"own"_qs);
    QCOMPARE(accessible(&label, QAccessible::Description), u"own"_qs);
}

void tst_CleanTexts::hostsAccessibleNames()
{
    QLabel label(tr_("Name"));
    label.setAccessibleName(u"own name"_qs);
    QPushButton button(tr_("Name"));
    button.setAccessibleName(tr_("&Save"));
    show(label);
    show(button);
    QCOMPARE(accessible(&label), u"own name"_qs);
    QCOMPARE(accessible(&button), u"&Enregistrer"_qs);
    label.setText(u"another"_qs);
    QCoreApplication::processEvents();
    QCOMPARE(accessible(&label), u"own name"_qs);
}

void tst_CleanTexts::interfaceTexts()
{
    start({{u"mode"_qs, u"DVInAppReview"_qs}});
    QMainWindow window;
    auto *content = std::make_unique<QWidget>().release();
    window.setCentralWidget(content);
    auto *layout = std::make_unique<QVBoxLayout>(content).release();
    QLabel label(u"Packaged label"_qs);
    QLabel other(u"Other label"_qs); // its key is none of an interface file
    QToolButton button;
    button.setText(u"Packaged label"_qs);
    QAction action(u"Bar item"_qs);
    QToolButton actionButton;
    actionButton.setDefaultAction(&action);
    QLineEdit typed(u"Packaged label"_qs);
    QTabBar tabs;
    tabs.addTab(u"First tab"_qs);
    tabs.addTab(u"Own tab"_qs);
    for (QWidget *widget : QList<QWidget *>{&label, &other, &button, &actionButton, &typed, &tabs})
        layout->addWidget(widget);
    QAction *item = window.addToolBar(u"bar"_qs)->addAction(u"Bar item"_qs);
    m_host->takeLog();
    show(window);
    QCOMPARE(dv_stringShowingCues(label.text()), u"[Packaged label]"_qs);
    QCOMPARE(dv_stringShowingCues(button.text()), u"[Packaged label]"_qs);
    QCOMPARE(dv_stringShowingCues(tabs.tabText(0)), u"[First tab]"_qs);
    QCOMPARE(dv_stringShowingCues(item->text()), u"[Bar item]"_qs);
    QCOMPARE(dv_stringShowingCues(action.text()), u"[Bar item]"_qs);
    action.setEnabled(false); // the button takes its text from there again
    QCOMPARE(dv_stringShowingCues(actionButton.text()), u"[Bar item]"_qs);
    QCOMPARE(other.text(), u"Other label"_qs);
    QCOMPARE(tabs.tabText(1), u"Own tab"_qs);
    QCOMPARE(typed.text(), u"Packaged label"_qs);
    const QStringList log = m_host->takeLog();
    QVERIFY(log.contains(u"Overriding text for label Packaged label with key main-label.text"_qs));
    QVERIFY(log.contains(u"Overriding text for tab bar item First tab with key tab-1.title"_qs));
}

void tst_CleanTexts::comboBoxThatIsDeletedMeanwhile()
{
    start();
    QStandardItemModel model;
    QPointer<QComboBox> box = std::make_unique<QComboBox>().release();
    box->setModel(&model);
    show(*box);
    connect(&model, &QAbstractItemModel::dataChanged, this, [&box] { delete box.data(); });
    model.invisibleRootItem()->appendRows({std::make_unique<QStandardItem>(tr_("Name")).release(),
                                           std::make_unique<QStandardItem>(tr_("Name")).release()});
    QVERIFY(!box);
}

void tst_CleanTexts::interfaceTextsOnlyInReviewModes()
{
    QLabel label(u"Packaged label"_qs);
    show(label);
    QCOMPARE(label.text(), u"Packaged label"_qs);
}

void tst_CleanTexts::nothingThatIsReadBackHasMarkers()
{
    QRandomGenerator random(20);
    const auto piece = [&random](auto &&self, int depth) -> QString {
        switch (random.bounded(depth > 2 ? 4 : 6)) {
        case 0:
            return tr_("Name");
        case 1:
            return tr_("&Save");
        case 2:
            return u" plain "_qs;
        case 3:
            return QString::number(random.bounded(1000));
        case 4:
            return tr_("%1 of %2").arg(self(self, depth + 1), self(self, depth + 1));
        default:
            return QString(self(self, depth + 1) + u", " + self(self, depth + 1));
        }
    };
    constexpr int texts = 60;
    for (int i = 0; i < texts; ++i) {
        const QString text = QString(piece(piece, 0) + tr_("Name"));
        const QString expected = dv_stringByRemovingCues(text);
        QWidget window;
        auto *layout = std::make_unique<QVBoxLayout>(&window).release();
        QLineEdit edit;
        QComboBox box;
        QPlainTextEdit plain;
        QTextEdit rich;
        QLabel label;
        QPushButton button;
        for (QWidget *widget : QList<QWidget *>{&edit, &box, &plain, &rich, &label, &button})
            layout->addWidget(widget);
        const auto set = [&] {
            edit.setText(text);
            box.addItem(text);
            plain.setPlainText(text);
            rich.setPlainText(text);
            label.setText(text);
            button.setText(text);
            window.setWindowTitle(text);
        };
        const bool isEarly = random.bounded(2) == 0;
        if (isEarly)
            set();
        show(window);
        if (!isEarly)
            set();
        for (const QString &read : {edit.text(), box.itemText(0), box.currentText(), plain.toPlainText(),
                                    rich.toPlainText(), window.windowTitle()})
            QCOMPARE(read, expected);
        QGuiApplication::clipboard()->setText(text);
        QCOMPARE(QGuiApplication::clipboard()->text(), expected);
        QTRY_VERIFY(isClean(accessible(&label)) && isClean(accessible(&button)));
        for (QObject *object : QList<QObject *>{&label, &button, &edit}) {
            const auto found = dv_localizedStringsInString(dv_view(object)->text()->text);
            QCOMPARE(found, dv_localizedStringsInString(text));
            QVERIFY(!found.isEmpty());
        }
    }
}

void tst_CleanTexts::theMemoryEndsWithTheObject()
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

QTEST_MAIN(tst_CleanTexts)
#include "tst_cleantexts.moc"
