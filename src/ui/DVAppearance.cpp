#include "DVAppearance.h"

#include "DVColors.h"
#include "DVSystemFont.h"

#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <QWidget>

namespace {

QString cssFont(double points, QFont::Weight weight)
{
    return QStringLiteral("font: normal %1 %2px \"%3\";")
        .arg(int(weight))
        .arg(qRound(points))
        .arg(dv_systemFont(points).families().constFirst());
}

// The window, its views and what is in popups; not a dialog that the host gave the window for its parent,
// because it was the active one.
const QLatin1StringView everything(
    "DVPopupWindow, DVPopupWindow > QWidget#dv_darkMask, DVPopupContentView, DVPopupContentView *");

// A rule of the application's style sheet counts wherever ours says nothing about its property, so everything
// that such a rule usually says is said here again.
const QLatin1StringView reset(R"css(
EVERYTHING {
    color: black; background: transparent; background-image: none; border: none; border-radius: 0px; outline: none;
    border-image: none; margin: 0px; padding: 0px; min-width: 0px; min-height: 0px;
    max-width: 16777215px; max-height: 16777215px; letter-spacing: 0px; word-spacing: 0px; text-decoration: none;
    selection-background-color: TINT; selection-color: white; alternate-background-color: white;
    gridline-color: LINE;
}
WITHIN QPushButton { color: TINT; padding: 0px; }
WITHIN QPushButton:disabled { color: LIGHTGREY; }
WITHIN QLineEdit, WITHIN QTextEdit, WITHIN QPlainTextEdit { background: transparent; color: black; }
WITHIN QAbstractItemView { background: PANEL; color: black; }
WITHIN QAbstractItemView::item { background: white; color: black; }
WITHIN QAbstractItemView::item:selected { background: LINE; color: black; }
WITHIN QScrollBar:vertical { width: 6px; background: transparent; }
WITHIN QScrollBar:horizontal { height: 6px; background: transparent; }
WITHIN QScrollBar::handle { background: LIGHTGREY; border-radius: 3px; min-width: 24px; min-height: 24px; }
WITHIN QScrollBar::add-line, WITHIN QScrollBar::sub-line { width: 0px; height: 0px; }
WITHIN QScrollBar::add-page, WITHIN QScrollBar::sub-page { background: transparent; }
)css");

QString sheet()
{
    QString text = QStringLiteral("EVERYTHING { %1 }\n").arg(cssFont(13, QFont::Normal)) + reset;
    text.replace(QLatin1StringView("EVERYTHING"), everything);
    text.replace(QLatin1StringView("WITHIN"), QLatin1StringView("DVPopupContentView"));
    const std::pair<QLatin1StringView, QColor> colors[] = {
        {QLatin1StringView("LIGHTGREY"), DVColors::lightGrey},
        {QLatin1StringView("TINT"), DVColors::tint},
        {QLatin1StringView("LINE"), DVColors::line},
        {QLatin1StringView("PANEL"), DVColors::barText},
    };
    for (const auto &[name, color] : colors)
        text.replace(name, color.name());
    return text;
}

QPalette palette()
{
    QPalette colors(DVColors::panel);
    colors.setColor(QPalette::WindowText, Qt::black);
    colors.setColor(QPalette::Text, Qt::black);
    colors.setColor(QPalette::Base, Qt::white);
    colors.setColor(QPalette::Button, DVColors::panel);
    colors.setColor(QPalette::ButtonText, DVColors::tint);
    colors.setColor(QPalette::Highlight, DVColors::tint);
    colors.setColor(QPalette::HighlightedText, Qt::white);
    colors.setColor(QPalette::PlaceholderText, DVColors::lightGrey);
    colors.setColor(QPalette::Link, DVColors::tint);
    return colors;
}

} // namespace

void dv_customizeAppearance(QWidget &window)
{
    // A style of Qt's own draws the same on every desktop. The sheet's style hands it on to the views.
    if (QStyle *style = QStyleFactory::create(QStringLiteral("Fusion"))) {
        style->setParent(&window);
        window.setStyle(style);
    }
    window.setFont(dv_systemFont(13));
    window.setPalette(palette());
    window.setStyleSheet(sheet());
}

void dv_setTextStyle(QWidget &view, double points, QFont::Weight weight, const QColor &color)
{
    view.setStyleSheet(QStringLiteral("%1 color: %2;").arg(cssFont(points, weight), color.name()));
}
