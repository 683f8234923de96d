#include "Pictograms.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace veilora::Pictograms {

void drawEyeSlash(QPainter &painter, const QRectF &box, const QColor &color)
{
    // Laid out on a 26 × 20 grid, then scaled into the box keeping its proportions.
    const qreal unit = std::min(box.width() / 26.0, box.height() / 20.0);
    const QPointF origin = box.center() - QPointF(13 * unit, 10 * unit);
    auto at = [&](qreal x, qreal y) { return origin + QPointF(x * unit, y * unit); };

    QPainterPath eye;
    eye.moveTo(at(1, 10));
    eye.cubicTo(at(5, 3), at(9, 2), at(13, 2));
    eye.cubicTo(at(17, 2), at(21, 3), at(25, 10));
    eye.cubicTo(at(21, 17), at(17, 18), at(13, 18));
    eye.cubicTo(at(9, 18), at(5, 17), at(1, 10));
    eye.closeSubpath();
    QPainterPath pupil;
    pupil.addEllipse(at(13, 10), 4.2 * unit, 4.2 * unit);
    QPainterPath iris;
    iris.addEllipse(at(13, 10), 6.2 * unit, 6.2 * unit);
    // Eye outline with the iris ring cut out and the pupil left in, as a filled glyph.
    QPainterPath glyph = eye.subtracted(iris).united(pupil);

    // The slash: drawn over a wider gap cut out of the eye so the two read apart.
    const QLineF slash(at(4, 1), at(22, 19));
    QPainterPathStroker gapStroker;
    gapStroker.setWidth(5.2 * unit);
    gapStroker.setCapStyle(Qt::RoundCap);
    QPainterPath gapLine;
    gapLine.moveTo(slash.p1());
    gapLine.lineTo(slash.p2());
    glyph = glyph.subtracted(gapStroker.createStroke(gapLine));

    QPainterPathStroker slashStroker;
    slashStroker.setWidth(2.2 * unit);
    slashStroker.setCapStyle(Qt::RoundCap);
    glyph = glyph.united(slashStroker.createStroke(gapLine));

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawPath(glyph);
    painter.restore();
}

void drawFingerprint(QPainter &painter, const QRectF &box, const QColor &color)
{
    const qreal side = std::min(box.width(), box.height());
    const QPointF centre = box.center() + QPointF(0, side * 0.08);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, std::max<qreal>(1.0, side * 0.085), Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    // Ridges from the core outwards, a little taller than wide and open towards
    // the bottom, each opening placed differently so they do not read as a target.
    struct Ridge
    {
        qreal radius; // as a share of the side
        int start;    // degrees, counter-clockwise from three o'clock (Qt's convention)
        int span;
    };
    static constexpr Ridge ridges[] = {{0.10, -30, 250}, {0.22, -20, 225}, {0.34, -55, 250}, {0.46, 15, 150}};
    for (const Ridge &ridge : ridges) {
        const qreal ry = ridge.radius * side;
        const qreal rx = ry * 0.86;
        painter.drawArc(QRectF(centre.x() - rx, centre.y() - ry, 2 * rx, 2 * ry), ridge.start * 16,
                        ridge.span * 16);
    }
    painter.restore();
}

} // namespace veilora::Pictograms
