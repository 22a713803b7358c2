#include "ui/views/stylesheet.h"

#include <QFile>
#include <QGuiApplication>
#include <QPalette>

using namespace Qt::StringLiterals;

QString loadStyleSheet()
{
    static const QString sheet = [] {
        QFile file(u":/style.css"_s);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }();
    return sheet;
}

bool isDarkPalette()
{
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Base).lightness() < palette.color(QPalette::Text).lightness();
}

QColor recoveredColour()
{
    return isDarkPalette() ? QColor(255, 110, 110) : QColor(Qt::red);
}
