#include "MenuBarIcon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace veilora {

namespace {

void drawGlyph(QPainter &painter, MenuBarIcon::State state)
{
    QPainterPath shield;
    shield.moveTo(8, 1.5);
    shield.lineTo(13.5, 3.6);
    shield.cubicTo(QPointF(13.5, 8.6), QPointF(11.6, 13.0), QPointF(8, 14.5));
    shield.cubicTo(QPointF(4.4, 13.0), QPointF(2.5, 8.6), QPointF(2.5, 3.6));
    shield.closeSubpath();
    painter.setPen(QPen(Qt::black, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(shield);

    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    switch (state) {
    case MenuBarIcon::State::active:
        painter.drawRoundedRect(QRectF(5.4, 6.8, 5.2, 2.0), 1.0, 1.0);
        break;
    case MenuBarIcon::State::off:
        break;
    case MenuBarIcon::State::permissionWarning:
        // A clear ring separates the badge from the outline, and the
        // exclamation mark is cut out of the disc.
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
        painter.drawEllipse(QRectF(9.0, -0.9, 8.0, 8.0));
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.drawEllipse(QRectF(10.1, 0.2, 5.8, 5.8));
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
        painter.drawRoundedRect(QRectF(12.45, 1.5, 1.1, 2.2), 0.55, 0.55);
        painter.drawRoundedRect(QRectF(12.45, 4.1, 1.1, 0.9), 0.45, 0.45);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        break;
    }
}

} // namespace

QImage MenuBarIcon::image(State state)
{
    return render(state, canvas, 1.0, Qt::black);
}

QImage MenuBarIcon::render(State state, int logicalSize, qreal devicePixelRatio, const QColor &color)
{
    const int pixels = qRound(logicalSize * devicePixelRatio);
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setDevicePixelRatio(devicePixelRatio);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.save();
    painter.scale(qreal(logicalSize) / canvas, qreal(logicalSize) / canvas);
    drawGlyph(painter, state);
    painter.restore();
    // The glyph keeps its coverage and takes the colour.
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRectF(0, 0, logicalSize, logicalSize), color);
    return image;
}

QIcon MenuBarIcon::icon(State state, const QColor &color)
{
    QIcon icon;
    for (const int size : {16, 22, 24, 32}) {
        for (const qreal ratio : {1.0, 2.0})
            icon.addPixmap(QPixmap::fromImage(render(state, size, ratio, color)));
    }
    return icon;
}

QColor MenuBarIcon::tintFor(const QColor &panel)
{
    const double luminance = 0.2126 * panel.redF() + 0.7152 * panel.greenF() + 0.0722 * panel.blueF();
    return luminance > 0.5 ? QColor(Qt::black) : QColor(Qt::white);
}

} // namespace veilora
