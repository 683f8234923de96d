#include "FocusRing.h"

#include "controls/PillTheme.h"

#include <QPainter>

#include <algorithm>

namespace veilora::FocusRing {

void draw(QPainter &painter, const QRectF &bounds, qreal cornerRadius)
{
    constexpr qreal width = 2;
    QColor ring = PillTheme::accent();
    ring.setAlphaF(0.75f);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ring, width));
    painter.setBrush(Qt::NoBrush);
    const qreal inset = width / 2;
    const qreal radius = std::max<qreal>(cornerRadius - inset, 0);
    painter.drawRoundedRect(bounds.adjusted(inset, inset, -inset, -inset), radius, radius);
    painter.restore();
}

} // namespace veilora::FocusRing
