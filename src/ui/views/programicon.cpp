#include "ui/views/programicon.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

using namespace Qt::StringLiterals;

namespace
{

// The colours of a drawing: lines follow the palette, the accent reads on light and on dark, and what is
// drawn upon the accent is white.
constexpr char lineColour[] = "currentColor";
constexpr char accentColour[] = "#3a8fd6";
constexpr char onAccentColour[] = "#ffffff";

// Qt would render an SVG under the name of a bitmap once, at its own 24 pixels, and blow that up on a
// screen of 200 %. This engine draws it in device pixels each time: crisp at 100 %, 125 % and 200 %.
class DrawingEngine final : public QIconEngine
{
public:
    DrawingEngine(const QString &resource, const QByteArray &svg) : name(resource), drawing(svg) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const QSize devicePixels = rect.size() * painter->device()->devicePixelRatio();
        painter->drawPixmap(rect, pixmap(devicePixels, mode, state));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        const QString key = keyOf(size, mode);
        QPixmap result;
        if (QPixmapCache::find(key, &result))
            return result;
        result = QPixmap(size);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        QSvgRenderer renderer(inColours(mode));
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        renderer.render(&painter, QRectF(QPointF(), QSizeF(size)));
        painter.end();
        QPixmapCache::insert(key, result);
        return result;
    }

    QIconEngine *clone() const override { return new DrawingEngine(*this); }
    QString key() const override { return u"drawing"_s; }
    bool isNull() override { return drawing.isEmpty(); }

private:
    QString keyOf(const QSize &size, QIcon::Mode mode) const
    {
        return u"drawing:%1:%2x%3:%4:%5"_s.arg(name)
            .arg(size.width())
            .arg(size.height())
            .arg(mode)
            .arg(QGuiApplication::palette().cacheKey());
    }

    static QColor lineOf(QIcon::Mode mode)
    {
        const QPalette palette = QGuiApplication::palette();
        if (mode == QIcon::Disabled)
            return palette.color(QPalette::Disabled, QPalette::WindowText);
        return palette.color(mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::WindowText);
    }

    QByteArray inColours(QIcon::Mode mode) const
    {
        const QByteArray line = lineOf(mode).name().toLatin1();
        QByteArray svg = drawing;
        if (mode == QIcon::Disabled || mode == QIcon::Selected) {
            const auto ground = mode == QIcon::Selected ? QPalette::Highlight : QPalette::Base;
            svg.replace(onAccentColour, QGuiApplication::palette().color(ground).name().toLatin1());
            svg.replace(accentColour, line);
        }
        return svg.replace(lineColour, line);
    }

    QString name;
    QByteArray drawing;
};

} // namespace

QIcon programIcon(const QString &resource)
{
    QFile file(resource);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QIcon(new DrawingEngine(resource, file.readAll()));
}
