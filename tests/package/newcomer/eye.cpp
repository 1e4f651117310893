// Compiled into a stranger's application to see what it shows: prints the texts of its first window,
// one a line, saves a picture of it and quits.
#include <QAbstractButton>
#include <QApplication>
#include <QGroupBox>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTimer>

#include <cstdio>

namespace {

void say(const QString &what, const QString &text)
{
    std::printf("%s: %s\n", qPrintable(what), text.toUtf8().constData());
}

void look()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        const auto *main = qobject_cast<QMainWindow *>(window);
        if (!main)
            continue;
        say("window", main->windowTitle());
        for (const QAction *menu : main->menuBar()->actions()) {
            say("menu", menu->text());
            if (menu->menu())
                for (const QAction *action : menu->menu()->actions())
                    say("action", action->text());
        }
        for (const auto *box : main->findChildren<QGroupBox *>())
            say("box", box->title());
        for (const auto *button : main->centralWidget()->findChildren<QAbstractButton *>())
            say("button", button->text());
        window->grab().save(qEnvironmentVariable("EYE_PICTURE"));
    }
    QCoreApplication::quit();
}

// The application's own start comes first, then its first turn of the event loop.
void openTheEye()
{
    QTimer::singleShot(0, qApp, look);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(openTheEye)
