// PopupTest: a host's window, and popups over it while the animations' clock stands still.
#pragma once

#include "DVAnimation.h"
#include "DVCompositor.h"
#include "DVPopupContentView.h"
#include "DVPopupRootViewController.h"
#include "DVPopupWindow.h"

#include <QGuiApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

#include <memory>

// A screen with a field and a button. Its popup owns it, and itself once it was shown.
class Screen : public DVPopupRootViewController
{
public:
    QLineEdit *field = new QLineEdit(this);
    QPushButton *button = new QPushButton(QStringLiteral("Press"), this);
    int presses = 0;

    explicit Screen(const QString &title = QStringLiteral("Screen"))
    {
        setTitle(title);
        field->setGeometry(20, 20, 150, 30);
        button->setGeometry(20, 60, 100, 30);
        connect(button, &QPushButton::clicked, this, [this] { ++presses; });
    }
};

inline DVPopupWindow &popups()
{
    return DVPopupWindow::sharedPopup();
}

// A screen on top of all others.
inline Screen *presented(bool animated = false)
{
    auto *screen = new Screen;
    screen->popup()->presentPopupAnimated(animated);
    return screen;
}

// As the window system would deliver it: what is blocked by a modal window gets nothing.
inline void click(QWidget &widget)
{
    QTest::mouseClick(widget.window()->windowHandle(), Qt::LeftButton, {},
                      widget.mapTo(widget.window(), widget.rect().center()));
}

inline void deleteWhatIsLeft()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

class PopupTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support)")));
        DVAnimationClock::hold();
        dv_setHasCompositor(true); // X11 in tests has none
        m_host = std::make_unique<Host>();
        QVERIFY(QTest::qWaitForWindowActive(&m_host->window));
    }
    void cleanup()
    {
        for (DVPopupContentView *popup : popups().popupStack())
            popups().dismissPopup(popup, false);
        QVERIFY(popups().isHidden());
        m_host.reset();
        deleteWhatIsLeft();
        dv_setHasCompositor({});
        DVAnimationClock::release();
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    }

protected:
    struct Host
    {
        QWidget window;
        QLineEdit field{&window};

        Host()
        {
            window.setGeometry(40, 30, 400, 500);
            window.setStyleSheet(QStringLiteral("QWidget { background: #ff0000; }"));
            field.setGeometry(10, 10, 100, 30);
            window.show();
            window.activateWindow();
            field.setFocus();
        }
    };
    std::unique_ptr<Host> m_host;
};
