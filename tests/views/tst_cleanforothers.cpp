// What others read of the host's windows is clean: who pastes, who drops, and who has it read aloud. And what
// the files of its interface packaged is marked.
#include "CleanHost.h"
#include "DVCleanClipboard.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
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
#include <QTabBar>
#include <QTextEdit>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

QString accessible(QObject *object, QAccessible::Text what = QAccessible::Name)
{
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(object);
    return interface ? interface->text(what) : u"no interface"_qs;
}

} // namespace

class tst_CleanForOthers : public CleanHost
{
    Q_OBJECT

private Q_SLOTS:
    void clipboard()
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

    void draggedData()
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

    void accessibleNames()
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

    void accessibleNamesFollow()
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

    void labelsThatAreBuddies()
    {
        QLabel own(tr_("Name"));
        own.setBuddy(&own);
        QLabel one(tr_("Name"));
        QLabel other(tr_("&Save"));
        one.setBuddy(&other);
        other.setBuddy(&one);
        for (QLabel *label : {&own, &one, &other})
            show(*label);
        QCOMPARE(accessible(&own), u"Nom"_qs);
        QVERIFY(isClean(accessible(&one)) && isClean(accessible(&other)));
    }

    void hostsAccessibleNames()
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

    void namesOfTabs()
    {
        QTabBar tabs;
        for (const QString &text : {tr_("Name"), tr_("&Save"), tr_("Name")})
            tabs.addTab(text);
        tabs.setAccessibleTabName(0, u"the host's"_qs);
        show(tabs);
        const auto names = [&tabs] {
            return QStringList{tabs.accessibleTabName(0), tabs.accessibleTabName(1),
                               tabs.accessibleTabName(2)};
        };
        QTRY_COMPARE(names(), QStringList({u"the host's"_qs, u"Enregistrer"_qs, u"Nom"_qs}));
        tabs.moveTab(0, 2);
        tabs.setTabText(0, u"report.txt"_qs); // was &Save
        QTRY_COMPARE(names(), QStringList({QString(), u"Nom"_qs, u"the host's"_qs}));
        tabs.setTabText(1, tr_("&Save"));
        QTRY_COMPARE(names(), QStringList({QString(), u"Enregistrer"_qs, u"the host's"_qs}));
    }

    void interfaceTexts()
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

    void interfaceTextsOnlyInReviewModes()
    {
        QLabel label(u"Packaged label"_qs);
        show(label);
        QCOMPARE(label.text(), u"Packaged label"_qs);
    }

    void nothingThatIsReadBackHasMarkers()
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
};

QTEST_MAIN(tst_CleanForOthers)
#include "tst_cleanforothers.moc"
