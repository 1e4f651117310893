#include "PictureTour.h"

#include <QCommandLineParser>
#include <QEvent>
#include <QGuiApplication>
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

} // namespace

PictureOrder PictureOrder::fromCommandLine()
{
    QCommandLineParser arguments;
    const QCommandLineOption pictures(QStringLiteral("pictures"),
                                      QStringLiteral("Take pictures of all screens and quit."),
                                      QStringLiteral("folder"));
    const QCommandLineOption await(QStringLiteral("await-publication"),
                                   QStringLiteral("With --pictures: wait until new texts arrive."));
    arguments.addHelpOption();
    arguments.addOptions({pictures, await});
    arguments.process(*QCoreApplication::instance());
    return {arguments.isSet(pictures) ? arguments.value(pictures) : QString(), arguments.isSet(await)};
}

PictureTour::PictureTour(TouredApplication &application, const PictureOrder &order)
    : m_application(application)
    , m_order(order)
    , m_folder(order.folder)
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
    if (m_order.folder.isNull())
        return;
    if (!m_folder.mkpath(QStringLiteral("."))) {
        say(stderr, QStringLiteral("Cannot make the folder %1.").arg(m_folder.path()));
        QTimer::singleShot(0, this, [this] { end(1); });
        return;
    }
    QTimer::singleShot(settling, this, [this] { visitScreen(0); });
}

void PictureTour::visitScreen(int screen)
{
    if (screen == int(std::size(screens))) {
        visitPreferences();
        return;
    }
    m_application.showScreen(screen);
    QTimer::singleShot(settling, this, [this, screen] {
        if (save(m_application.pictureOfWindow(), QLatin1StringView(screens[screen])))
            visitScreen(screen + 1);
    });
}

void PictureTour::visitPreferences()
{
    m_application.openPreferences();
    QTimer::singleShot(settling, this, [this] {
        if (!save(m_application.pictureOfPreferences(), QStringLiteral("preferences")))
            return;
        m_application.closePreferences();
        m_application.showScreen(0);
        leaveOrEnd();
    });
}

void PictureTour::leaveOrEnd()
{
    if (!m_order.awaitPublication) {
        end(0);
        return;
    }
    m_textsBefore = m_application.shownTexts();
    qApp->installEventFilter(this);
    say(stdout, QStringLiteral("waiting for a new publication"));
    m_patience->start();
    m_switching->start();
}

// The offscreen platform knows neither other applications nor a home screen, so this says what such
// a system would say when the user leaves and returns.
void PictureTour::switchAwayAndBack()
{
    const bool leaving = m_application.isWindowVisible();
    m_application.setWindowVisible(!leaving);
    Q_EMIT qApp->applicationStateChanged(leaving ? Qt::ApplicationHidden : Qt::ApplicationActive);
}

bool PictureTour::eventFilter(QObject *watched, QEvent *event)
{
    // The windows see the event after the application.
    if (watched == qApp && event->type() == QEvent::LanguageChange)
        QTimer::singleShot(settling, this, &PictureTour::showUpdate);
    return QObject::eventFilter(watched, event);
}

void PictureTour::showUpdate()
{
    if (m_ended || m_application.shownTexts() == m_textsBefore)
        return;
    m_switching->stop();
    m_application.setWindowVisible(true);
    if (save(m_application.pictureOfWindow(), QStringLiteral("today-updated")))
        end(0);
}

bool PictureTour::save(const QImage &picture, const QString &name)
{
    const QString path = m_folder.filePath(name + QStringLiteral(".png"));
    if (picture.save(path)) {
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
    QGuiApplication::exit(status);
}
