// Writes the pictures of the interface's states: ui_pictures FOLDER. QT_SCALE_FACTOR says for which scale.
#include "DVAnimation.h"
#include "DVColors.h"
#include "DVImages.h"
#include "DVNavigationController.h"
#include "DVPageControl.h"
#include "DVPopupContentView.h"
#include "DVPopupNavigationTitleView.h"
#include "DVPopupRootViewController.h"
#include "DVPopupWindow.h"
#include "DVStatusLabel.h"
#include "DVSystemFont.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QTextEdit>
#include <QVBoxLayout>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

QDir folder;
bool allWritten = true;

void write(const QString &name, const QImage &image)
{
    const QString path = folder.filePath(u"ui-%1.png"_qs.arg(name));
    if (!image.save(path)) {
        std::fprintf(stderr, "%s could not be written\n", qPrintable(path));
        allWritten = false;
    }
}

// The host's window with what lies on it, as a compositor shows them.
QImage onScreen(QWidget &host)
{
    QImage image = host.grab().toImage().convertToFormat(QImage::Format_RGB32);
    QPainter(&image).drawImage(QPoint(0, 0), DVPopupWindow::sharedPopup().grab().toImage());
    return image;
}

class HostWindow : public QWidget
{
public:
    HostWindow()
    {
        setGeometry(20, 20, 380, 560);
        setWindowTitle(u"Window Garden"_qs);
        auto *column = new QVBoxLayout(this);
        auto *headline = new QLabel(u"<h1>Window Garden</h1>"_qs);
        column->addWidget(headline);
        for (const QString &text :
             {u"3 plants need water today"_qs, u"Basil: every 2 days"_qs, u"Mint: every day"_qs})
            column->addWidget(new QCheckBox(text));
        column->addWidget(new QLineEdit(u"Add a plant"_qs));
        column->addStretch();
        column->addWidget(new QPushButton(u"Water all"_qs));
    }
};

class Editor : public DVPopupRootViewController
{
public:
    Editor()
    {
        setTitle(u"Popup"_qs);
        addLeftButton(u"Accept"_qs);
        addLeftButton(u"Reject"_qs)->setEnabled(false);
        addRightButton(u"Close"_qs);
        m_text.setGeometry(10, 60, 330, 200);
        m_text.setPlainText(u"Three plants need water today."_qs);
        m_status.setStatus(2);
        m_status.move(10, 14);
        m_status.resize(m_status.sizeHint());
        m_dots.setNumberOfPages(3);
        m_dots.setGeometry(10, 420, 330, 7);
    }

private:
    QTextEdit m_text{this};
    DVStatusLabel m_status{this};
    DVPageControl m_dots{this};
};

// A screen of rows.
class Menu : public DVPopupRootViewController
{
public:
    Menu()
    {
        setTitle(u"Second"_qs);
        addLeftButton(u"Cancel"_qs);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setFont(dv_systemFont(17));
        int y = 20;
        for (const QString &row : {u"Language"_qs, u"Workflow step"_qs, u"Get Latest Text"_qs}) {
            painter.fillRect(0, y, width(), 43, Qt::white);
            painter.drawText(QRect(15, y, width() - 30, 43), Qt::AlignVCenter, row);
            painter.fillRect(QRectF(0, y + 43, width(), 0.5), DVColors::line);
            y += 44;
        }
        painter.fillRect(0, height() - 60, width(), 60, Qt::white);
    }
};

void popupPictures(HostWindow &host)
{
    auto *editor = new Editor;
    editor->popup()->presentPopupAnimated(false);
    QCoreApplication::processEvents();
    write(u"popup"_qs, onScreen(host));

    auto *menu = new Menu;
    menu->popup()->presentPopupAnimated(true);
    DVAnimationClock::advance(80); // while it comes up
    write(u"popup-appears"_qs, onScreen(host));
    DVAnimationClock::advance(500);
    menu->popup()->keyboardDidAppear(QRectF(0, 0, 380, 200)); // which leaves the lower one to be seen
    DVAnimationClock::advance(500);
    QCoreApplication::processEvents();
    write(u"popup-two"_qs, onScreen(host));
    menu->popup()->dismissAnimated(false);
    editor->popup()->dismissAnimated(false);
}

void slidePicture(HostWindow &host)
{
    auto *menu = new Menu;
    menu->popup()->presentPopupAnimated(false);
    auto *next = new Menu;
    next->setTitle(u"Language"_qs);
    menu->popup()->navigationController()->pushViewController(next, true);
    DVAnimationClock::advance(150);
    QCoreApplication::processEvents();
    write(u"screen-slides"_qs, onScreen(host));
    menu->popup()->dismissAnimated(false);
}

void titlePictures(HostWindow &host)
{
    auto *screen = new DVPopupRootViewController;
    screen->addLeftButton(u"Close"_qs);
    DVPopupNavigationTitleView title({}, screen);
    screen->setTitleView(title.view());
    screen->popup()->presentPopupAnimated(false);
    const auto take = [&](const QString &name) {
        QCoreApplication::processEvents();
        const double scale = host.devicePixelRatio();
        write(u"title-"_qs + name, onScreen(host).copy(0, 0, int(380 * scale), int(90 * scale)));
    };
    take(u"logo"_qs);
    title.showLoading();
    DVAnimationClock::advance(150);
    take(u"fading"_qs);
    DVAnimationClock::advance(450);
    take(u"loading"_qs);
    title.hideLoadingWithSuccess(true);
    DVAnimationClock::advance(700);
    take(u"success"_qs);
    screen->popup()->dismissAnimated(false);
}

QImage sheet(QWidget &board)
{
    QPalette white(board.palette());
    white.setColor(QPalette::Window, Qt::white);
    board.setPalette(white);
    board.setAutoFillBackground(true);
    return board.grab().toImage();
}

void dotPictures()
{
    for (const int pages : {1, 13, 14, 30}) {
        QWidget board;
        board.resize(240, 3 * 24);
        const int currents[] = {0, pages / 2, pages - 1};
        for (int i = 0; i < 3; ++i) {
            auto *dots = new DVPageControl(&board);
            dots->setNumberOfPages(pages);
            dots->setCurrentPage(currents[i]);
            dots->setGeometry(0, 9 + 24 * i, 240, 7);
        }
        write(u"dots-%1"_qs.arg(pages), sheet(board));
    }
}

void badgePicture()
{
    QWidget board;
    board.resize(130, 6 * 28);
    for (quint32 status = 1; status <= 6; ++status) {
        auto *badge = new DVStatusLabel(&board);
        badge->setStatus(status);
        badge->resize(badge->sizeHint());
        badge->move(10, 6 + 28 * (int(status) - 1));
    }
    write(u"badges"_qs, sheet(board));
}

// A line of text with two capsules, at both sizes.
void capsulePicture(double scale)
{
    QImage image(QSize(360, 90) * scale, QImage::Format_RGB32);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::white);
    QPainter painter(&image);
    const auto line = [&](double y, double size, const QColor &color) {
        painter.setFont(dv_systemFont(size * 0.75));
        painter.setPen(Qt::black);
        double x = 10;
        for (const QString &piece : {u"Water"_qs, u"*Number"_qs, u"plants,"_qs, u"*Name"_qs}) {
            if (!piece.startsWith(u'*')) {
                painter.drawText(QPointF(x, y), piece);
                x += painter.fontMetrics().horizontalAdvance(piece) + 6;
                continue;
            }
            const QImage capsule = dv_capsuleImageWithText(piece.mid(1), size, color, scale);
            painter.drawImage(QPointF(x, y + size / 4 - capsule.deviceIndependentSize().height()), capsule);
            x += capsule.deviceIndependentSize().width() + 6;
        }
    };
    line(34, 16, DVColors::lightGrey);
    line(72, 24, DVColors::tint);
    painter.end();
    write(u"capsules-%1"_qs.arg(scale), image);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "ui_pictures FOLDER\n");
        return 2;
    }
    folder.setPath(QString::fromLocal8Bit(argv[1]));
    DVAnimationClock::hold();
    HostWindow host;
    host.show();
    popupPictures(host);
    slidePicture(host);
    titlePictures(host);
    dotPictures();
    badgePicture();
    capsulePicture(1);
    capsulePicture(2);
    return allWritten ? 0 : 1;
}
