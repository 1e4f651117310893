#include "Look.h"

#include "GardenFont.h"

#include <QApplication>
#include <QFile>
#include <QPalette>
#include <QStyleFactory>
#include <QWidget>

namespace {

QPalette palette()
{
    QPalette colours(QColor(0xffffff), QColor(0xf5f4ee));
    colours.setColor(QPalette::WindowText, QColor(0x24332b));
    colours.setColor(QPalette::Text, QColor(0x24332b));
    colours.setColor(QPalette::ButtonText, QColor(0x24332b));
    colours.setColor(QPalette::Base, Qt::white);
    colours.setColor(QPalette::PlaceholderText, QColor(0x8b968f));
    colours.setColor(QPalette::Highlight, QColor(0x2f6f4f));
    colours.setColor(QPalette::HighlightedText, Qt::white);
    return colours;
}

} // namespace

void applyLook(QApplication &application)
{
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(palette());

    QApplication::setFont(gardenFont(QApplication::font()));

    QFile sheet(QStringLiteral(":/windowgarden/look.qss"));
    if (sheet.open(QIODevice::ReadOnly))
        application.setStyleSheet(QString::fromUtf8(sheet.readAll()));
}

void setRole(QWidget *widget, const char *role)
{
    widget->setProperty("role", QString(QLatin1StringView(role)));
}
