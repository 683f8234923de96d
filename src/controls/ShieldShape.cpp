#include "ShieldShape.h"

namespace veilora {

QPainterPath ShieldShape::path(const QRectF &rect)
{
    const qreal w = rect.width();
    const qreal h = rect.height();
    QPainterPath path;
    path.moveTo(0.5 * w, 0);
    path.lineTo(w, 0.18 * h);
    path.cubicTo(w, 0.62 * h, 0.82 * w, 0.88 * h, 0.5 * w, h);
    path.cubicTo(0.18 * w, 0.88 * h, 0, 0.62 * h, 0, 0.18 * h);
    path.closeSubpath();
    return path;
}

} // namespace veilora
