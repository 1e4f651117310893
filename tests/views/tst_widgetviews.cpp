// The texts of real windows: found where they are shown, replaced, and hit by a point.
#include "DVView.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

class TestWidgetViews : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void labelsAndButtonsAreFoundAndTakeANewText()
    {
        QWidget window;
        QVBoxLayout layout(&window);
        QLabel label(u"\u200BName\u2062"_qs);
        QPushButton button(u"\u200B&Save\u2062"_qs);
        layout.addWidget(&label);
        layout.addWidget(&button);
        window.show();
        const QList<DVViewPtr> views = dv_view(&window)->subviews();
        QCOMPARE(views.size(), 2);
        QCOMPARE(views[0]->text()->text, u"\u200BName\u2062"_qs);
        const DVViewText save = *views[1]->text();
        views[1]->setText(save, {u"\u200B&Keep\u2062"_qs, {}});
        QCOMPARE(button.text(), u"\u200B&Keep\u2062"_qs);
        views[1]->setText(save, {u"\u200B&Late\u2062"_qs, {}});
        QCOMPARE(button.text(), u"\u200B&Keep\u2062"_qs);
        QVERIFY(dv_viewInWindow(window.windowHandle(), button.geometry().center())->isSameAs(*views[1]));
    }
};

QTEST_MAIN(TestWidgetViews)
#include "tst_widgetviews.moc"
