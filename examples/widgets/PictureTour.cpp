#include "PictureTour.h"

#include "MainWindow.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QLabel>
#include <QPixmap>
#include <QTabWidget>
#include <QTimer>

#include <cstdio>

namespace {

using namespace std::chrono_literals;

constexpr auto settling = 150ms; // layouts, posted events and repaints
constexpr auto away = 500ms;     // between going to the background and coming back
constexpr auto patience = 60s;

const char *const screens[] = {"today", "plants", "new-plant"};

void say(FILE *stream, const QString &line)
{
    std::fputs(qPrintable(line + u'\n'), stream);
    std::fflush(stream);
}

QString shownTexts(const QWidget &window)
{
    QStringList texts;
    for (const QLabel *label : window.findChildren<QLabel *>())
        texts.append(label->text());
    return texts.join(u'\n');
}

} // namespace

PictureTour::PictureTour(MainWindow &window, const QString &folder, bool awaitPublication)
    : m_window(window)
    , m_tabs(window.findChild<QTabWidget *>())
    , m_folder(folder)
    , m_awaitPublication(awaitPublication)
    , m_switching(new QTimer(this))
    , m_patience(new QTimer(this))
{
    m_switching->setInterval(away);
    m_patience->setInterval(patience);
    m_patience->setSingleShot(true);
    connect(m_switching, &QTimer::timeout, this, &PictureTour::switchAwayAndBack);
    connect(m_patience, &QTimer::timeout, this, [this] {
        say(stderr, QStringLiteral("No new texts arrived within %1 seconds.").arg(patience.count()));
        end(1);
    });
}

void PictureTour::start()
{
    if (!m_folder.mkpath(QStringLiteral("."))) {
        say(stderr, QStringLiteral("Cannot make the folder %1.").arg(m_folder.path()));
        QTimer::singleShot(0, this, [this] { end(1); });
        return;
    }
    QTimer::singleShot(settling, this, [this] { visitScreen(0); });
}

void PictureTour::visitScreen(int tab)
{
    if (tab == int(std::size(screens))) {
        visitPreferences();
        return;
    }
    m_tabs->setCurrentIndex(tab);
    QTimer::singleShot(settling, this, [this, tab] {
        if (take(&m_window, QLatin1StringView(screens[tab])))
            visitScreen(tab + 1);
    });
}

void PictureTour::visitPreferences()
{
    m_window.findChild<QAction *>(QStringLiteral("openPreferences"))->trigger();
    QTimer::singleShot(settling, this, [this] {
        auto *dialog = m_window.findChild<QDialog *>();
        if (!take(dialog, QStringLiteral("preferences")))
            return;
        dialog->reject();
        m_tabs->setCurrentIndex(0);
        leaveOrEnd();
    });
}

void PictureTour::leaveOrEnd()
{
    if (!m_awaitPublication) {
        end(0);
        return;
    }
    m_textsBefore = shownTexts(m_window);
    m_window.installEventFilter(this);
    say(stdout, QStringLiteral("waiting for a new publication"));
    m_patience->start();
    m_switching->start();
}

// The offscreen platform knows neither other applications nor a home screen, so this says what such
// a system would say when the user leaves and returns.
void PictureTour::switchAwayAndBack()
{
    if (m_window.isVisible()) {
        m_window.hide();
        Q_EMIT qApp->applicationStateChanged(Qt::ApplicationHidden);
    } else {
        m_window.show();
        m_window.activateWindow();
        Q_EMIT qApp->applicationStateChanged(Qt::ApplicationActive);
    }
}

bool PictureTour::eventFilter(QObject *watched, QEvent *event)
{
    // The window sees the event after this filter.
    if (event->type() == QEvent::LanguageChange)
        QTimer::singleShot(settling, this, &PictureTour::showUpdate);
    return QObject::eventFilter(watched, event);
}

void PictureTour::showUpdate()
{
    if (m_ended || shownTexts(m_window) == m_textsBefore)
        return;
    m_switching->stop();
    m_window.show();
    if (take(&m_window, QStringLiteral("today-updated")))
        end(0);
}

bool PictureTour::take(QWidget *widget, const QString &name)
{
    const QString path = m_folder.filePath(name + QStringLiteral(".png"));
    if (widget && widget->grab().save(path)) {
        say(stdout, path);
        return true;
    }
    say(stderr, QStringLiteral("Cannot write %1.").arg(path));
    end(1);
    return false;
}

void PictureTour::end(int status)
{
    m_ended = true;
    m_switching->stop();
    m_patience->stop();
    QApplication::exit(status);
}
